#include "message/Utf.h"

#include "message/Ascii.h"
#include "message/UtfUnits.h"

#include <algorithm>
#include <stdexcept>

namespace Korvel::Utf {
namespace {

constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD";

std::uint32_t leadBits(std::uint32_t lead, unsigned length) {
    constexpr std::uint32_t MASKS[] = {0, 0x7F, 0x1F, 0x0F, 0x07, 0x03, 0x03};
    return lead & MASKS[length];
}

[[noreturn]] void fail() {
    throw std::range_error("bad conversion");
}

std::uint32_t readContinuation(std::string_view text, std::size_t position) {
    if (position >= text.size()) fail();
    const std::uint32_t byte = byteAt(text, position);
    if (!isContinuation(byte)) fail();
    return byte & 0x3F;
}

/// Any sequence of two bytes or more. Moves the position behind it, and returns the end of the
/// units.
wchar_t* decodeSequence(wchar_t* units, std::string_view text, std::size_t& position) {
    const unsigned length = sequenceLength(byteAt(text, position));
    if (length == 0) fail();
    const std::size_t last = position + length - 1;
    std::uint32_t value = leadBits(byteAt(text, position), length);
    while (++position < last) {
        value = (value << 6) | readContinuation(text, position);
    }
    // The value but for its lowest six bits is known here, and with it the high surrogate. A text
    // that ends at this point ends in that surrogate.
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

/// The same, quicker for what most texts are made of: whole sequences of two and three bytes.
wchar_t* decodeCharacter(wchar_t* units, std::string_view text, std::size_t& position) {
    if (text.size() - position < 3) return decodeSequence(units, text, position);
    const std::uint32_t lead = byteAt(text, position);
    const std::uint32_t second = byteAt(text, position + 1);
    const std::uint32_t third = byteAt(text, position + 2);
    if ((lead & 0xE0) == 0xC0 && isContinuation(second)) {
        *units = static_cast<wchar_t>(((lead & 0x1F) << 6) | (second & 0x3F));
        position += 2;
    } else if ((lead & 0xF0) == 0xE0 && isContinuation(second) && isContinuation(third)) {
        *units =
            static_cast<wchar_t>(((lead & 0x0F) << 12) | ((second & 0x3F) << 6) | (third & 0x3F));
        position += 3;
    } else {
        return decodeSequence(units, text, position);
    }
    return units + 1;
}

/// The size of the sequence at `position` if it is well-formed, else 0.
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

/// The first position from `position` on, below `end`, that holds no continuation byte.
std::size_t skipContinuations(std::string_view bytes, std::size_t position, std::size_t end) {
    while (position < end && isContinuation(byteAt(bytes, position))) ++position;
    return position;
}

}  // namespace

std::wstring decode(std::string_view text) {
    // No sequence gives more units than it has bytes.
    std::wstring units(text.size(), L'\0');
    wchar_t* end = units.data();
    std::size_t position = 0;
    while (position < text.size()) {
        while (text.size() - position >= Ascii::BLOCK && Ascii::isBlock(&text[position])) {
            Ascii::widenBlock(end, &text[position]);
            position += Ascii::BLOCK;
            end += Ascii::BLOCK;
        }
        while (position < text.size() && byteAt(text, position) < 0x80) {
            *end++ = static_cast<wchar_t>(text[position++]);
        }
        while (position < text.size() && byteAt(text, position) >= 0x80) {
            end = decodeCharacter(end, text, position);
        }
    }
    units.resize(static_cast<std::size_t>(end - units.data()));
    return units;
}

bool isWellFormed(std::string_view text) noexcept {
    std::size_t position = 0;
    while (position < text.size()) {
        if (text.size() - position >= Ascii::BLOCK && Ascii::isBlock(&text[position])) {
            position += Ascii::BLOCK;
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
