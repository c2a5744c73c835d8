// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "message/text/JsonEscape.h"

#include "message/text/TextBlock.h"
#include "message/text/Utf.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace Korvel::JsonEscape {
namespace {

/// Eight bytes, so one load and one store copy any escape. The next write overwrites the excess
/// bytes.
struct Escape {
    char text[7];
    std::uint8_t size;
};

constexpr Escape escapeOf(unsigned char byte) {
    constexpr const char* DIGITS = "0123456789abcdef";
    // The letters after the backslash for 0x08 to 0x0D; U+000B has none.
    constexpr const char* LETTERS = "btn\0fr";
    const char itself = static_cast<char>(byte);
    if (byte == '"' || byte == '\\') return {{'\\', itself}, 2};
    if (byte >= 0x20) return {{itself}, 1};
    if (byte >= 0x08 && byte <= 0x0D && byte != 0x0B) return {{'\\', LETTERS[byte - 0x08]}, 2};
    return {{'\\', 'u', '0', '0', DIGITS[byte >> 4], DIGITS[byte & 0xF]}, 6};
}

constexpr std::array<Escape, 256> ESCAPES = [] {
    std::array<Escape, 256> escapes = {};
    for (unsigned byte = 0; byte < 256; ++byte) {
        escapes[byte] = escapeOf(static_cast<unsigned char>(byte));
    }
    return escapes;
}();

inline char* writeByte(char* out, unsigned char byte) {
    const Escape& escape = ESCAPES[byte];
    std::memcpy(out, &escape, sizeof escape);
    return out + escape.size;
}

char* writeBytewise(char* out, std::string_view text) {
    for (const char byte : text) out = writeByte(out, static_cast<unsigned char>(byte));
    return out;
}

char* writeCharacterwise(char* out, std::wstring_view text) {
    std::size_t position = 0;
    while (position < text.size()) {
        const auto unit = static_cast<std::uint32_t>(text[position]);
        if (unit < 0x80) {
            out = writeByte(out, static_cast<unsigned char>(unit));
            ++position;
        } else {
            out = Utf::encodeCharacter(out, text, position);
        }
    }
    return out;
}

}  // namespace

char* write(char* out, std::string_view text) noexcept {
    const std::size_t size = text.size();
    for (; text.size() >= TextBlock::SIZE; text.remove_prefix(TextBlock::SIZE)) {
        if (TextBlock::escapeMask(text.data()) != 0) {
            out = writeBytewise(out, text.substr(0, TextBlock::SIZE));
        } else {
            std::memcpy(out, text.data(), TextBlock::SIZE);
            out += TextBlock::SIZE;
        }
    }
    if (size < TextBlock::SIZE) return writeBytewise(out, text);
    // The rest is checked as the end of a complete block.
    const char* const lastBlock = text.data() + text.size() - TextBlock::SIZE;
    const unsigned escapes = TextBlock::escapeMask(lastBlock) >> (TextBlock::SIZE - text.size());
    if (escapes != 0) return writeBytewise(out, text);
    return out + text.copy(out, text.size());
}

char* write(char* out, std::wstring_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto unit = static_cast<std::uint32_t>(text[i]);
        if (unit >= 0x80) return writeCharacterwise(out, text.substr(i));
        out = writeByte(out, static_cast<unsigned char>(unit));
    }
    return out;
}

}  // namespace Korvel::JsonEscape
