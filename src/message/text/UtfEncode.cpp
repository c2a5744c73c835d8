// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "message/text/Utf.h"

#include "message/text/TextBlock.h"
#include "message/text/UtfUnits.h"

#include <algorithm>

namespace Korvel::Utf {
namespace {

/// Long text is converted in pieces that fit into the fastest cache.
constexpr std::size_t ENCODED_PIECE = 2048;

char asByte(std::uint32_t value) {
    return static_cast<char>(static_cast<unsigned char>(value));
}

char continuation(std::uint32_t codePoint, unsigned shift) {
    return asByte(0x80 | ((codePoint >> shift) & 0x3F));
}

char* encodeThreeBytes(char* bytes, std::uint32_t codePoint) {
    bytes[0] = asByte(0xE0 | (codePoint >> 12));
    bytes[1] = continuation(codePoint, 6);
    bytes[2] = continuation(codePoint, 0);
    return bytes + 3;
}

char* encodeFourBytes(char* bytes, std::uint32_t codePoint) {
    bytes[0] = asByte(0xF0 | (codePoint >> 18));
    bytes[1] = continuation(codePoint, 12);
    bytes[2] = continuation(codePoint, 6);
    bytes[3] = continuation(codePoint, 0);
    return bytes + 4;
}

/// Encodes the character whose high surrogate is at `position`. A text that ends in the surrogate
/// yields only the first byte, which the surrogate determines alone.
char* encodePair(char* bytes, std::wstring_view text, std::size_t& position) {
    const std::uint32_t high = unitAt(text, position++);
    if (position == text.size()) {
        *bytes = asByte(0xF0 | (codePointOf(high, 0) >> 18));
        return bytes + 1;
    }
    const std::uint32_t low = unitAt(text, position++);
    if (!isLowSurrogate(low)) fail();
    return encodeFourBytes(bytes, codePointOf(high, low));
}

/// Encodes a unit below 0x800. Always writes two bytes, even if one is enough: a branch would be
/// mispredicted where ASCII and other letters alternate.
char* encodeShort(char* bytes, std::uint32_t unit) {
    const bool isAscii = unit < 0x80;
    bytes[0] = asByte(isAscii ? unit : 0xC0 | (unit >> 6));
    bytes[1] = continuation(unit, 0);
    return bytes + (isAscii ? 1 : 2);
}

/// Encodes the character at `position`. Writes only its bytes, because the destination may have its
/// exact size.
inline char* encodeNext(char* bytes, std::wstring_view text, std::size_t& position) {
    const std::uint32_t unit = unitAt(text, position);
    // encodeShort must not write past the last unit.
    if (unit < 0x800 && position != text.size() - 1) {
        ++position;
        return encodeShort(bytes, unit);
    }
    if (unit >= 0x800 && unit <= LAST_OF_BMP && !isSurrogate(unit)) {
        ++position;
        return encodeThreeBytes(bytes, unit);
    }
    return encodeCharacter(bytes, text, position);
}

/// Encodes the units from `position` up to `limit`, and the second unit of a pair that crosses it.
char* encodeUpTo(std::size_t limit, char* bytes, std::wstring_view text, std::size_t& position) {
    std::size_t next = position;
    while (next < limit) {
        while (limit - next >= TextBlock::SIZE && TextBlock::isAscii(&text[next])) {
            TextBlock::narrow(bytes, &text[next]);
            next += TextBlock::SIZE;
            bytes += TextBlock::SIZE;
        }
        const std::size_t stop = std::min(limit, next + TextBlock::SIZE);
        while (next < stop) bytes = encodeNext(bytes, text, next);
    }
    position = next;
    return bytes;
}

/// The UTF-8 size of the non-ASCII character at `position`, or 0 if it would not read back. Moves
/// `position` past it.
std::size_t sizeOfCharacter(std::wstring_view text, std::size_t& position) {
    const std::uint32_t unit = unitAt(text, position++);
    if (unit < 0x800) return 2;
    if (unit > LAST_OF_BMP) return unit <= LAST_CODE_POINT ? 4 : 0;
    if (!isSurrogate(unit)) return 3;
    if (!isHighSurrogate(unit) || position == text.size()) return 0;
    return isLowSurrogate(unitAt(text, position++)) ? 4 : 0;
}

}  // namespace

std::string encode(std::wstring_view text) {
    char piece[ENCODED_PIECE];
    std::string bytes;
    bytes.reserve(text.size());
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t limit =
            std::min(text.size(), position + ENCODED_PIECE / MAX_SEQUENCE - 1);
        const char* const end = encodeUpTo(limit, piece, text, position);
        bytes.append(piece, static_cast<std::size_t>(end - piece));
    }
    return bytes;
}

std::size_t exactSize(std::wstring_view text) noexcept {
    std::size_t size = 0;
    std::size_t position = 0;
    while (position < text.size()) {
        while (text.size() - position >= TextBlock::SIZE && TextBlock::isAscii(&text[position])) {
            size += TextBlock::SIZE;
            position += TextBlock::SIZE;
        }
        while (position < text.size() && unitAt(text, position) < 0x80) {
            ++size;
            ++position;
        }
        while (position < text.size() && unitAt(text, position) >= 0x80) {
            const std::size_t length = sizeOfCharacter(text, position);
            if (length == 0) return NOT_EXACT;
            size += length;
        }
    }
    return size;
}

char* encodeExact(char* bytes, std::wstring_view text) noexcept {
    std::size_t position = 0;
    return encodeUpTo(text.size(), bytes, text, position);
}

char* encodeCharacter(char* bytes, std::wstring_view text, std::size_t& position) {
    const std::uint32_t unit = unitAt(text, position);
    if (isHighSurrogate(unit)) return encodePair(bytes, text, position);
    ++position;
    if (unit < 0x80) {
        *bytes = asByte(unit);
        return bytes + 1;
    }
    if (unit < 0x800) return encodeShort(bytes, unit);
    if (unit <= LAST_OF_BMP) return encodeThreeBytes(bytes, unit);
    if (unit > LAST_CODE_POINT) fail();
    return encodeFourBytes(bytes, unit);
}

bool hasSupplementaryElement(std::wstring_view text) noexcept {
    if constexpr (sizeof(wchar_t) <= 2) return false;
    return std::any_of(text.begin(), text.end(), [](wchar_t element) {
        return isSupplementary(static_cast<std::uint32_t>(element));
    });
}

std::wstring splitSupplementary(std::wstring_view text) {
    if (!hasSupplementaryElement(text)) return std::wstring(text);
    std::wstring units;
    units.reserve(text.size() + 1);
    for (const wchar_t element : text) {
        const auto unit = static_cast<std::uint32_t>(element);
        if (isSupplementary(unit)) {
            units.push_back(highSurrogate(unit));
            units.push_back(lowSurrogate(unit));
        } else {
            units.push_back(element);
        }
    }
    return units;
}

}  // namespace Korvel::Utf
