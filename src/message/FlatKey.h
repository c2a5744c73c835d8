#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace Korvel {

/// A key of a Map as nearly all keys are: up to fifteen ASCII characters, none of which JSON
/// escapes. Zero bytes stand behind the text, so that its bytes alone give the order of keys.
class FlatKey {
public:
    static constexpr std::size_t CAPACITY = 15;

    /// The key with that text, if it is of this kind.
    template <class Unit>
    static std::optional<FlatKey> of(std::basic_string_view<Unit> text) noexcept {
        if (text.size() > CAPACITY) return std::nullopt;
        FlatKey key;
        bool isPlain = true;
        for (std::size_t i = 0; i < text.size(); ++i) {
            const auto unit = static_cast<std::uint32_t>(text[i]);
            isPlain &= unit - 0x20 < 0x60 && unit != '"' && unit != '\\';
            key.text_[i] = static_cast<char>(unit);
        }
        if (!isPlain) return std::nullopt;
        key.size_ = static_cast<std::uint8_t>(text.size());
        return key;
    }

    std::size_t size() const noexcept { return size_; }

    /// Writes the text, and returns its end; CAPACITY bytes are written, whatever the end is.
    char* write(char* out) const noexcept {
        std::memcpy(out, text_, CAPACITY);
        return out + size_;
    }

    std::wstring wide() const { return std::wstring(text_, text_ + size_); }

    bool operator==(const FlatKey& other) const noexcept {
        return std::memcmp(text_, other.text_, CAPACITY) == 0;
    }

    bool operator<(const FlatKey& other) const noexcept {
        return std::memcmp(text_, other.text_, CAPACITY) < 0;
    }

private:
    char text_[CAPACITY] = {};
    std::uint8_t size_ = 0;
};

}  // namespace Korvel
