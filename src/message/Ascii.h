#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// ASCII text a block at a time. Plain loops of a fixed length, which compilers turn into vector
/// instructions at the usual levels of optimisation.
namespace Korvel::Ascii {

constexpr std::size_t BLOCK = 16;

inline bool isBlock(const char* bytes) noexcept {
    std::uint64_t words[2];
    std::memcpy(words, bytes, sizeof words);
    return ((words[0] | words[1]) & 0x8080808080808080) == 0;
}

inline bool isBlock(const wchar_t* units) noexcept {
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < BLOCK; ++i) bits |= static_cast<std::uint32_t>(units[i]);
    return bits < 0x80;
}

inline void widenBlock(wchar_t* units, const char* bytes) noexcept {
    for (std::size_t i = 0; i < BLOCK; ++i) {
        units[i] = static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]));
    }
}

inline void narrowBlock(char* bytes, const wchar_t* units) noexcept {
    for (std::size_t i = 0; i < BLOCK; ++i) bytes[i] = static_cast<char>(units[i]);
}

}  // namespace Korvel::Ascii
