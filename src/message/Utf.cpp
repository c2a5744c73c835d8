#include "message/Utf.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace Korvel::Utf {
namespace {

constexpr std::uint32_t LAST_OF_BMP = 0xFFFF;
constexpr std::uint32_t LAST_CODE_POINT = 0x10FFFF;
constexpr const char* REPLACEMENT = "\xEF\xBF\xBD";

[[noreturn]] void fail() {
    throw std::range_error("bad conversion");
}

/// An element as a number. On a platform where `wchar_t` is signed a negative one becomes huge.
std::uint32_t unitAt(const std::wstring& text, std::size_t position) {
    return static_cast<std::uint32_t>(text[position]);
}

std::uint32_t byteAt(const std::string& text, std::size_t position) {
    return static_cast<unsigned char>(text[position]);
}

bool isContinuation(std::uint32_t byte) {
    return (byte & 0xC0) == 0x80;
}

bool isHighSurrogate(std::uint32_t unit) {
    return (unit & 0xFFFFFC00) == 0xD800;
}

bool isLowSurrogate(std::uint32_t unit) {
    return (unit & 0xFFFFFC00) == 0xDC00;
}

wchar_t highSurrogate(std::uint32_t codePoint) {
    return static_cast<wchar_t>(0xD800 | ((codePoint >> 10) - 0x40));
}

wchar_t lowSurrogate(std::uint32_t codePoint) {
    return static_cast<wchar_t>(0xDC00 | (codePoint & 0x3FF));
}

char asByte(std::uint32_t value) {
    return static_cast<char>(static_cast<unsigned char>(value));
}

char continuation(std::uint32_t codePoint, unsigned shift) {
    return asByte(0x80 | ((codePoint >> shift) & 0x3F));
}

/// The length of the sequence that `lead` begins; 0 for a byte that begins none. The forms of five
/// and six bytes are no UTF-8 of today, but small values in them are read.
unsigned sequenceLength(std::uint32_t lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xC0) return 0;
    if (lead < 0xE0) return 2;
    if (lead < 0xF0) return 3;
    if (lead < 0xF8) return 4;
    return lead < 0xFC ? 5 : 6;
}

std::uint32_t leadBits(std::uint32_t lead, unsigned length) {
    constexpr std::uint32_t MASKS[] = {0, 0x7F, 0x1F, 0x0F, 0x07, 0x03, 0x03};
    return lead & MASKS[length];
}

std::uint32_t readContinuation(const std::string& text, std::size_t position) {
    if (position >= text.size()) fail();
    const std::uint32_t byte = byteAt(text, position);
    if (!isContinuation(byte)) fail();
    return byte & 0x3F;
}

/// Appends the units of the sequence of `length` bytes, at least two, at `position`; returns the
/// position behind it.
std::size_t decodeSequence(std::wstring& units, const std::string& text, std::size_t position,
                           unsigned length) {
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
        units.push_back(highSurrogate(value << 6));
        if (last == text.size()) return last;
    }
    value = (value << 6) | readContinuation(text, last);
    units.push_back(isPair ? lowSurrogate(value) : static_cast<wchar_t>(value));
    return last + 1;
}

/// Appends the four bytes of a supplementary character.
void appendFourBytes(std::string& bytes, std::uint32_t codePoint) {
    const char sequence[] = {asByte(0xF0 | (codePoint >> 18)), continuation(codePoint, 12),
                             continuation(codePoint, 6), continuation(codePoint, 0)};
    bytes.append(sequence, sizeof sequence);
}

/// Appends the character whose high surrogate stands at `position`.
std::size_t appendPair(std::string& bytes, const std::wstring& text, std::size_t position) {
    const std::uint32_t high = ((unitAt(text, position) & 0x3FF) + 0x40) << 10;
    if (position + 1 == text.size()) {
        bytes.push_back(asByte(0xF0 | (high >> 18)));
        return position + 1;
    }
    const std::uint32_t low = unitAt(text, position + 1);
    if (!isLowSurrogate(low)) fail();
    appendFourBytes(bytes, high | (low & 0x3FF));
    return position + 2;
}

/// The first position from `position` on, below `end`, that holds no continuation byte.
std::size_t skipContinuations(const std::string& bytes, std::size_t position, std::size_t end) {
    while (position < end && isContinuation(byteAt(bytes, position))) ++position;
    return position;
}

}  // namespace

std::wstring decode(const std::string& text) {
    std::wstring units;
    units.reserve(text.size());
    std::size_t position = 0;
    while (position < text.size()) {
        const std::uint32_t lead = byteAt(text, position);
        const unsigned length = sequenceLength(lead);
        if (length == 0) fail();
        if (length == 1) {
            units.push_back(static_cast<wchar_t>(lead));
            ++position;
        } else {
            position = decodeSequence(units, text, position, length);
        }
    }
    return units;
}

std::string encode(const std::wstring& text) {
    std::string bytes;
    bytes.reserve(text.size());
    std::size_t position = 0;
    while (position < text.size()) {
        position = appendCharacter(bytes, text, position);
    }
    return bytes;
}

std::size_t appendCharacter(std::string& bytes, const std::wstring& text, std::size_t position) {
    const std::uint32_t unit = unitAt(text, position);
    if (isHighSurrogate(unit)) return appendPair(bytes, text, position);
    if (unit < 0x80) {
        bytes.push_back(asByte(unit));
    } else if (unit < 0x800) {
        const char sequence[] = {asByte(0xC0 | (unit >> 6)), continuation(unit, 0)};
        bytes.append(sequence, sizeof sequence);
    } else if (unit <= LAST_OF_BMP) {
        const char sequence[] = {asByte(0xE0 | (unit >> 12)), continuation(unit, 6),
                                 continuation(unit, 0)};
        bytes.append(sequence, sizeof sequence);
    } else if (unit <= LAST_CODE_POINT) {
        appendFourBytes(bytes, unit);
    } else {
        fail();
    }
    return position + 1;
}

bool hasSupplementaryElement(const std::wstring& text) noexcept {
    if constexpr (sizeof(wchar_t) <= 2) return false;
    return std::any_of(text.begin(), text.end(), [](wchar_t element) {
        const auto unit = static_cast<std::uint32_t>(element);
        return unit > LAST_OF_BMP && unit <= LAST_CODE_POINT;
    });
}

std::wstring splitSupplementary(std::wstring text) {
    if (!hasSupplementaryElement(text)) return text;
    std::wstring units;
    units.reserve(text.size() + 1);
    for (const wchar_t element : text) {
        const auto unit = static_cast<std::uint32_t>(element);
        if (unit > LAST_OF_BMP && unit <= LAST_CODE_POINT) {
            units.push_back(highSurrogate(unit));
            units.push_back(lowSurrogate(unit));
        } else {
            units.push_back(element);
        }
    }
    return units;
}

std::string readablePrefix(const std::string& bytes, std::size_t limit) {
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
