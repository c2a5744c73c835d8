// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "message/text/TextBlock.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace Korvel {

/// A key of up to fifteen ASCII characters, none of which JSON escapes, packed into two numbers:
/// its characters from the highest byte of `head_` on, zeros, and its size in the lowest byte of
/// `tail_`. The numbers therefore compare like the texts.
class ShortKey {
public:
    static constexpr std::size_t CAPACITY = 15;

    /// The empty key.
    ShortKey() noexcept = default;

    /// Returns the key for `text`, or nothing if it does not qualify. The text is read in
    /// overlapping pieces, whose common characters have the same bits. Inlined, because the result
    /// is too large for registers.
    template <class Unit>
    [[gnu::always_inline]] static std::optional<ShortKey> of(
        std::basic_string_view<Unit> text) noexcept {
        const std::size_t size = text.size();
        if (size > CAPACITY) return std::nullopt;
        const Unit* const begin = text.data();
        ShortKey key;
        key.head_ = size < 8 ? packUpToSeven(begin, size) : packEight(begin);
        if (size > 8) key.tail_ = packEight(begin + size - 8) << (8 * (16 - size));
        if (hasSpecial(key.head_, size) || (size > 8 && hasSpecial(key.tail_, size - 8))) {
            return std::nullopt;
        }
        key.tail_ |= size;
        return key;
    }

    std::size_t size() const noexcept { return static_cast<std::size_t>(tail_ & 0xFF); }

    /// Writes the text and returns its end. Always writes TextBlock::SIZE bytes.
    char* write(char* out) const noexcept {
        writeNumber(out, head_);
        writeNumber(out + sizeof head_, tail_);
        return out + size();
    }

    std::wstring wide() const {
        char bytes[TextBlock::SIZE];
        return std::wstring(&bytes[0], write(bytes));
    }

    /// The same in the caller's storage.
    std::wstring_view wide(wchar_t (&units)[TextBlock::SIZE]) const noexcept {
        char bytes[TextBlock::SIZE];
        write(bytes);
        TextBlock::widen(units, bytes);
        return {units, size()};
    }

    bool operator==(const ShortKey& other) const noexcept {
        return head_ == other.head_ && tail_ == other.tail_;
    }

    bool operator<(const ShortKey& other) const noexcept {
        return head_ != other.head_ ? head_ < other.head_ : tail_ < other.tail_;
    }

private:
    template <class Unit>
    static std::uint64_t packEight(const Unit* units) noexcept {
        return std::uint64_t{TextBlock::packFour(units)} << 32 | TextBlock::packFour(units + 4);
    }

    template <class Unit>
    static std::uint64_t packUpToSeven(const Unit* units, std::size_t size) noexcept {
        if (size >= 4) {
            const std::uint64_t last = TextBlock::packFour(units + size - 4);
            return std::uint64_t{TextBlock::packFour(units)} << 32 | last << (8 * (8 - size));
        }
        std::uint64_t number = 0;
        for (std::size_t i = 0; i < size; ++i) number |= packOne(units[i]) << (56 - 8 * i);
        return number;
    }

    template <class Unit>
    static std::uint64_t packOne(Unit unit) noexcept {
        const auto value = static_cast<std::make_unsigned_t<Unit>>(unit);
        return value < 0x80 ? value : 0;
    }

    /// Whether one of the first `count` bytes is not ASCII or is escaped in JSON. The subtractions
    /// set the highest bit of such a byte; the borrow can then set that of others.
    static bool hasSpecial(std::uint64_t number, std::size_t count) noexcept {
        constexpr std::uint64_t ONES = 0x0101010101010101;
        if (count < 8) number |= (' ' * ONES) >> (8 * count);
        const std::uint64_t isControl = number - ' ' * ONES;
        const std::uint64_t isQuote = (number ^ '"' * ONES) - ONES;
        const std::uint64_t isBackslash = (number ^ '\\' * ONES) - ONES;
        return ((number | isControl | isQuote | isBackslash) & 0x80 * ONES) != 0;
    }

    static void writeNumber(char* bytes, std::uint64_t number) noexcept {
        if constexpr (std::endian::native == std::endian::little) {
            const std::uint64_t first = TextBlock::swapBytes(static_cast<std::uint32_t>(number));
            number = first << 32 | TextBlock::swapBytes(static_cast<std::uint32_t>(number >> 32));
        }
        std::memcpy(bytes, &number, sizeof number);
    }

    std::uint64_t head_ = 0;
    std::uint64_t tail_ = 0;
};

}  // namespace Korvel
