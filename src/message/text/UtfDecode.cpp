// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "message/text/Utf.h"

#include "message/text/TextBlock.h"
#include "message/text/UtfUnits.h"

#include <algorithm>

namespace Korvel::Utf {
namespace {

/// Long text is converted in pieces that fit into the fastest cache.
constexpr std::size_t DECODED_PIECE = 512;
constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD";

std::uint32_t leadBits(std::uint32_t lead, unsigned length) {
    constexpr std::uint32_t MASKS[] = {0, 0x7F, 0x1F, 0x0F, 0x07, 0x03, 0x03};
    return lead & MASKS[length];
}

std::uint32_t readContinuation(std::string_view text, std::size_t position) {
    if (position >= text.size()) fail();
    const std::uint32_t byte = byteAt(text, position);
    if (!isContinuation(byte)) fail();
    return byte & 0x3F;
}

/// Decodes a sequence of two or more bytes. Moves `position` past it and returns the end of the
/// units.
wchar_t* decodeSequence(wchar_t* units, std::string_view text, std::size_t& position) {
    const unsigned length = sequenceLength(byteAt(text, position));
    if (length == 0) fail();
    const std::size_t last = position + length - 1;
    std::uint32_t value = leadBits(byteAt(text, position), length);
    while (++position < last) {
        value = (value << 6) | readContinuation(text, position);
    }
    // All but the lowest six bits of the value are known here, and so is the high surrogate. A text
    // that ends here yields that surrogate.
    if (value > (LAST_CODE_POINT >> 6)) fail();
    const bool isPair = value > (LAST_OF_BMP >> 6);
    if (isPair) {
        *units++ = highSurrogate(value << 6);
        if (last == text.size()) return units;
    }
    value = (value << 6) | readContinuation(text, last);
    *units++ = isPair ? lowSurrogate(value) : static_cast<wchar_t>(value);
    ++position;
    return units;
}

/// The same, with a fast path for complete sequences of two to four bytes, whose continuation bytes
/// are checked together.
wchar_t* decodeCharacter(wchar_t* units, std::string_view text, std::size_t& position) {
    constexpr std::size_t MAX_BYTES = 4;
    if (text.size() - position < MAX_BYTES) return decodeSequence(units, text, position);
    const std::uint32_t lead = byteAt(text, position);
    const std::uint32_t second = byteAt(text, position + 1) ^ 0x80;
    const std::uint32_t third = byteAt(text, position + 2) ^ 0x80;
    const std::uint32_t fourth = byteAt(text, position + 3) ^ 0x80;
    // The XOR leaves only the six payload bits of a continuation byte.
    if ((lead & 0xE0) == 0xC0 && second < 0x40) {
        *units = static_cast<wchar_t>((lead & 0x1F) << 6 | second);
        position += 2;
        return units + 1;
    }
    if ((lead & 0xF0) == 0xE0 && (second | third) < 0x40) {
        *units = static_cast<wchar_t>((lead & 0x0F) << 12 | second << 6 | third);
        position += 3;
        return units + 1;
    }
    const std::uint32_t value = (lead & 0x07) << 18 | second << 12 | third << 6 | fourth;
    if ((lead & 0xF8) == 0xF0 && (second | third | fourth) < 0x40 && isSupplementary(value)) {
        units[0] = highSurrogate(value);
        units[1] = lowSurrogate(value);
        position += 4;
        return units + 2;
    }
    return decodeSequence(units, text, position);
}

/// Decodes text from `position` on, into at most DECODED_PIECE units.
wchar_t* decodePiece(wchar_t* units, std::string_view text, std::size_t& position) {
    // A sequence never yields more units than it has bytes, and the last one may cross the limit.
    const std::size_t limit = std::min(text.size(), position + DECODED_PIECE - 1);
    std::size_t next = position;
    while (next < limit) {
        while (limit - next >= TextBlock::SIZE && TextBlock::isAscii(&text[next])) {
            TextBlock::widen(units, &text[next]);
            next += TextBlock::SIZE;
            units += TextBlock::SIZE;
        }
        for (; next < limit && byteAt(text, next) < 0x80; ++next) {
            *units++ = static_cast<wchar_t>(text[next]);
        }
        while (next < limit && byteAt(text, next) >= 0x80) {
            units = decodeCharacter(units, text, next);
        }
    }
    position = next;
    return units;
}

/// The length of the sequence at `position` if it is well-formed, otherwise 0.
std::size_t wellFormedLength(std::string_view text, std::size_t position) {
    constexpr std::uint32_t SMALLEST[] = {0, 0, 0x80, 0x800, 0x10000};
    const unsigned length = sequenceLength(byteAt(text, position));
    if (length < 2 || length > 4 || text.size() - position < length) return 0;
    std::uint32_t value = leadBits(byteAt(text, position), length);
    for (unsigned i = 1; i < length; ++i) {
        const std::uint32_t byte = byteAt(text, position + i);
        if (!isContinuation(byte)) return 0;
        value = (value << 6) | (byte & 0x3F);
    }
    const bool isCharacter = value <= LAST_CODE_POINT && !isSurrogate(value);
    return value >= SMALLEST[length] && isCharacter ? length : 0;
}

/// Returns the first position in [`position`, `end`) without a continuation byte, or `end`.
std::size_t skipContinuations(std::string_view bytes, std::size_t position, std::size_t end) {
    while (position < end && isContinuation(byteAt(bytes, position))) ++position;
    return position;
}

}  // namespace

std::wstring decode(std::string_view text) {
    wchar_t piece[DECODED_PIECE];
    std::size_t position = 0;
    wchar_t* end = decodePiece(piece, text, position);
    std::wstring units(piece, end);
    if (position == text.size()) return units;
    units.reserve(text.size());
    while (position < text.size()) {
        end = decodePiece(piece, text, position);
        units.append(piece, static_cast<std::size_t>(end - piece));
    }
    return units;
}

bool isWellFormed(std::string_view text) noexcept {
    std::size_t position = 0;
    while (position < text.size()) {
        // The last block overlaps the one before it.
        const std::size_t block = std::min(position, text.size() - TextBlock::SIZE);
        if (text.size() >= TextBlock::SIZE && TextBlock::isAscii(&text[block])) {
            position = block + TextBlock::SIZE;
        } else if (byteAt(text, position) < 0x80) {
            ++position;
        } else {
            const std::size_t length = wellFormedLength(text, position);
            if (length == 0) return false;
            position += length;
        }
    }
    return true;
}

std::string readablePrefix(std::string_view bytes, std::size_t limit) {
    const std::size_t end = std::min(bytes.size(), limit);
    std::string prefix;
    prefix.reserve(end);
    std::size_t position = 0;
    while (position < end) {
        const std::size_t length = sequenceLength(byteAt(bytes, position));
        const std::size_t next =
            skipContinuations(bytes, position + 1, std::min(position + length, end));
        if (length > 0 && next == position + length) {
            prefix.append(bytes, position, length);
            position = next;
        } else if (length > 0 && next == end && end < bytes.size()) {
            break;  // The limit splits this character.
        } else {
            prefix += REPLACEMENT;
            ++position;
        }
    }
    return prefix;
}

}  // namespace Korvel::Utf
