#include "message/Utf.h"

#include "message/Ascii.h"
#include "message/UtfUnits.h"

#include <algorithm>
#include <stdexcept>

namespace Korvel::Utf {
namespace {

[[noreturn]] void fail() {
    throw std::range_error("bad conversion");
}

char asByte(std::uint32_t value) {
    return static_cast<char>(static_cast<unsigned char>(value));
}

char continuation(std::uint32_t codePoint, unsigned shift) {
    return asByte(0x80 | ((codePoint >> shift) & 0x3F));
}

char* encodeTwoBytes(char* bytes, std::uint32_t codePoint) {
    bytes[0] = asByte(0xC0 | (codePoint >> 6));
    bytes[1] = continuation(codePoint, 0);
    return bytes + 2;
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

/// The character whose high surrogate stands at `position`. A text that ends in the surrogate gets
/// the first byte, which depends on nothing else.
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

/// What the character at `position`, which is no ASCII, needs in UTF-8. Moves the position behind
/// it; 0 if it would not read back.
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
    const std::size_t size = exactSize(text);
    if (size != NOT_EXACT) {
        std::string bytes(size, '\0');
        encodeExact(bytes.data(), text);
        return bytes;
    }
    std::string bytes;
    std::size_t position = 0;
    while (position < text.size()) {
        char sequence[LONGEST_SEQUENCE];
        const char* const end = encodeCharacter(sequence, text, position);
        bytes.append(sequence, static_cast<std::size_t>(end - sequence));
    }
    return bytes;
}

std::size_t exactSize(std::wstring_view text) noexcept {
    std::size_t size = 0;
    std::size_t position = 0;
    while (position < text.size()) {
        if (text.size() - position >= Ascii::BLOCK && Ascii::isBlock(&text[position])) {
            size += Ascii::BLOCK;
            position += Ascii::BLOCK;
        } else if (unitAt(text, position) < 0x80) {
            ++size;
            ++position;
        } else {
            const std::size_t length = sizeOfCharacter(text, position);
            if (length == 0) return NOT_EXACT;
            size += length;
        }
    }
    return size;
}

char* encodeExact(char* bytes, std::wstring_view text) noexcept {
    std::size_t position = 0;
    while (position < text.size()) {
        if (text.size() - position >= Ascii::BLOCK && Ascii::isBlock(&text[position])) {
            Ascii::narrowBlock(bytes, &text[position]);
            bytes += Ascii::BLOCK;
            position += Ascii::BLOCK;
            continue;
        }
        bytes = encodeCharacter(bytes, text, position);
    }
    return bytes;
}

char* encodeCharacter(char* bytes, std::wstring_view text, std::size_t& position) {
    const std::uint32_t unit = unitAt(text, position);
    if (isHighSurrogate(unit)) return encodePair(bytes, text, position);
    ++position;
    if (unit < 0x80) {
        *bytes = asByte(unit);
        return bytes + 1;
    }
    if (unit < 0x800) return encodeTwoBytes(bytes, unit);
    if (unit <= LAST_OF_BMP) return encodeThreeBytes(bytes, unit);
    if (unit > LAST_CODE_POINT) fail();
    return encodeFourBytes(bytes, unit);
}

bool hasSupplementaryElement(std::wstring_view text) noexcept {
    if constexpr (sizeof(wchar_t) <= 2) return false;
    return std::any_of(text.begin(), text.end(), [](wchar_t element) {
        const auto unit = static_cast<std::uint32_t>(element);
        return unit > LAST_OF_BMP && unit <= LAST_CODE_POINT;
    });
}

std::wstring splitSupplementary(std::wstring_view text) {
    if (!hasSupplementaryElement(text)) return std::wstring(text);
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

}  // namespace Korvel::Utf
