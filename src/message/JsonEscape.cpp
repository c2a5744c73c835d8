#include "message/JsonEscape.h"

#include "message/Utf.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace Korvel::JsonEscape {
namespace {

/// Eight bytes, so that one load and one store move the text, whatever its size. What is written
/// behind the text is overwritten by what follows.
struct Escape {
    char text[7];
    std::uint8_t size;
};

constexpr Escape escapeOf(unsigned char byte) {
    constexpr const char* DIGITS = "0123456789abcdef";
    // The letter behind the backslash for 0x08 to 0x0D; U+000B has none.
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

constexpr std::uint64_t everyByte(std::uint64_t byte) {
    return byte * 0x0101010101010101;
}

/// Whether one of the eight bytes needs an escape. A byte of zero sets its high bit by the
/// subtraction, unless that bit was set before; a borrow can add bits, but only above a true one.
inline bool needsEscape(std::uint64_t word) {
    constexpr std::uint64_t HIGH_BITS = everyByte(0x80);
    const std::uint64_t quotes = word ^ everyByte('"');
    const std::uint64_t backslashes = word ^ everyByte('\\');
    const std::uint64_t hits = ((word - everyByte(0x20)) & ~word) |
                               ((quotes - everyByte(1)) & ~quotes) |
                               ((backslashes - everyByte(1)) & ~backslashes);
    return (hits & HIGH_BITS) != 0;
}

}  // namespace

char* write(char* out, std::string_view text) noexcept {
    while (text.size() >= sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data(), sizeof word);
        if (needsEscape(word)) {
            out = writeBytewise(out, text.substr(0, sizeof word));
        } else {
            std::memcpy(out, &word, sizeof word);
            out += sizeof word;
        }
        text.remove_prefix(sizeof word);
    }
    return writeBytewise(out, text);
}

char* writeBytewise(char* out, std::string_view text) noexcept {
    for (const char byte : text) out = writeByte(out, static_cast<unsigned char>(byte));
    return out;
}

char* write(char* out, std::wstring_view text) {
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

}  // namespace Korvel::JsonEscape
