// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "ReadableText.h"

#include <Korvel/Message.h>

#include <cstdint>

namespace DiskCheck {
namespace {

std::uint32_t byteAt(std::string_view bytes, std::size_t position) {
    return static_cast<unsigned char>(bytes[position]);
}

bool isIn(std::uint32_t value, std::uint32_t first, std::uint32_t last) {
    return first <= value && value <= last;
}

std::size_t lengthByLead(std::uint32_t lead) {
    if (lead < 0x80) return 1;
    if (isIn(lead, 0xC2, 0xDF)) return 2;
    if (isIn(lead, 0xE0, 0xEF)) return 3;
    return isIn(lead, 0xF0, 0xF4) ? 4 : 0;
}

/// Overlong forms, surrogates and values above U+10FFFF show in the second byte.
bool isSecondByte(std::uint32_t lead, std::uint32_t second) {
    const std::uint32_t first = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const std::uint32_t last = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    return isIn(second, first, last);
}

/// The length of the character at `position`, or 0 if there is none. Stricter than
/// Message::strToWstr, which also reads forms that have no valid text on the way back.
std::size_t characterLength(std::string_view bytes, std::size_t position) {
    const std::uint32_t lead = byteAt(bytes, position);
    const std::size_t length = lengthByLead(lead);
    if (length > bytes.size() - position) return 0;
    if (length > 1 && !isSecondByte(lead, byteAt(bytes, position + 1))) return 0;
    for (std::size_t index = 2; index < length; ++index) {
        if (!isIn(byteAt(bytes, position + index), 0x80, 0xBF)) return 0;
    }
    return length;
}

template <class Text>
void appendHex(Text& text, std::uint32_t value, unsigned digits) {
    for (unsigned left = digits; left > 0; --left) {
        const std::uint32_t digit = (value >> (4 * (left - 1))) & 0xF;
        text.push_back(static_cast<typename Text::value_type>("0123456789ABCDEF"[digit]));
    }
}

}  // namespace

ReadableText makeReadable(std::string_view bytes) {
    std::string valid;
    bool isExact = true;
    std::size_t position = 0;
    while (position < bytes.size()) {
        const std::size_t length = characterLength(bytes, position);
        if (length > 0) {
            valid += bytes.substr(position, length);
            position += length;
        } else {
            valid += "\\x";
            appendHex(valid, byteAt(bytes, position), 2);
            isExact = false;
            ++position;
        }
    }
    return {Korvel::Message::strToWstr(valid), isExact};
}

ReadableText makeReadable(std::wstring_view units) {
    ReadableText readable;
    for (std::size_t position = 0; position < units.size(); ++position) {
        const auto unit = static_cast<std::uint32_t>(units[position]);
        const bool isPair = isIn(unit, 0xD800, 0xDBFF) && position + 1 < units.size() &&
                            isIn(static_cast<std::uint32_t>(units[position + 1]), 0xDC00, 0xDFFF);
        if (isPair) {
            readable.text += units.substr(position, 2);
            ++position;
        } else if (isIn(unit, 0xD800, 0xDFFF)) {
            readable.text += L"\\u";
            appendHex(readable.text, unit, 4);
            readable.isExact = false;
        } else {
            readable.text.push_back(units[position]);
        }
    }
    return readable;
}

ReadableText readablePath(const std::filesystem::path& path) {
    return makeReadable(std::basic_string_view<std::filesystem::path::value_type>(path.native()));
}

}  // namespace DiskCheck
