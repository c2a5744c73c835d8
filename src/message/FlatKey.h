#pragma once

#include "message/TextBlock.h"

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
    static constexpr std::size_t CAPACITY = TextBlock::SIZE - 1;

    /// The key with that text, if it is of this kind.
    static std::optional<FlatKey> of(std::string_view text) noexcept {
        if (text.size() > CAPACITY) return std::nullopt;
        FlatKey key;
        text.copy(key.bytes_, text.size());
        return key.finish(text.size());
    }

    static std::optional<FlatKey> of(std::wstring_view text) noexcept {
        if (text.size() > CAPACITY) return std::nullopt;
        FlatKey key;
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            bits |= static_cast<std::uint32_t>(text[i]);
            key.bytes_[i] = static_cast<char>(text[i]);
        }
        if (bits >= 0x80) return std::nullopt;
        return key.finish(text.size());
    }

    std::size_t size() const noexcept { return static_cast<std::size_t>(bytes_[CAPACITY]); }

    /// Writes the text, and returns its end; CAPACITY bytes are written, whatever the end is.
    char* write(char* out) const noexcept {
        std::memcpy(out, bytes_, CAPACITY);
        return out + size();
    }

    std::wstring wide() const { return std::wstring(bytes_, bytes_ + size()); }

    bool operator==(const FlatKey& other) const noexcept {
        return std::memcmp(bytes_, other.bytes_, CAPACITY) == 0;
    }

    bool operator<(const FlatKey& other) const noexcept {
        const std::uint64_t left = head();
        const std::uint64_t right = other.head();
        if (left != right) return left < right;
        return std::memcmp(bytes_ + sizeof left, other.bytes_ + sizeof left, sizeof left) < 0;
    }

private:
    std::optional<FlatKey> finish(std::size_t size) noexcept {
        const unsigned special = TextBlock::escapeMask(bytes_) | TextBlock::otherMask(bytes_);
        if ((special & TextBlock::maskOf(size)) != 0) return std::nullopt;
        bytes_[CAPACITY] = static_cast<char>(size);
        return *this;
    }

    /// The first eight bytes as a number, the first of them in the highest place.
    std::uint64_t head() const noexcept {
        const auto byte = [this](unsigned position) {
            return std::uint64_t{static_cast<unsigned char>(bytes_[position])}
                   << (56 - 8 * position);
        };
        return byte(0) | byte(1) | byte(2) | byte(3) | byte(4) | byte(5) | byte(6) | byte(7);
    }

    /// The text, and its size in the last byte.
    char bytes_[TextBlock::SIZE] = {};
};

}  // namespace Korvel
