// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__) || defined(_M_X64)
#define KORVEL_SSE2
#include <emmintrin.h>
#endif

/// Operations on blocks of text, usually of sixteen bytes or code units, for conversions, escaping
/// and keys. The functions in Portable run on every processor; with SSE2, faster versions replace
/// them.
namespace Korvel::TextBlock {

constexpr std::size_t SIZE = 16;

/// Compiles to a single instruction.
inline std::uint32_t swapBytes(std::uint32_t number) noexcept {
    return number << 24 | (number & 0xFF00) << 8 | (number >> 8 & 0xFF00) | number >> 24;
}

namespace Portable {

/// Whether all SIZE code units are ASCII.
inline bool isAscii(const wchar_t* units) noexcept {
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < SIZE; ++i) bits |= static_cast<std::uint32_t>(units[i]);
    return (bits & ~std::uint32_t{0x7F}) == 0;
}

/// Widens SIZE bytes of ASCII.
inline void widen(wchar_t* units, const char* bytes) noexcept {
    for (std::size_t i = 0; i < SIZE; ++i) units[i] = static_cast<wchar_t>(bytes[i]);
}

inline void narrow(char* bytes, const wchar_t* units) noexcept {
    for (std::size_t i = 0; i < SIZE; ++i) bytes[i] = static_cast<char>(units[i]);
}

/// Narrows any number of code units and returns whether they are ASCII. If not, the bytes are
/// meaningless.
inline bool tryNarrow(char* bytes, const wchar_t* units, std::size_t size) noexcept {
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < size; ++i) {
        bits |= static_cast<std::uint32_t>(units[i]);
        bytes[i] = static_cast<char>(units[i]);
    }
    return bits < 0x80;
}

/// Packs four characters into a number, the first in its highest byte. A non-ASCII character
/// becomes a non-ASCII byte or a control character.
inline std::uint32_t packFour(const wchar_t* units) noexcept {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const auto unit = static_cast<std::uint32_t>(units[i]);
        number = number << 8 | (unit < 0x80 ? unit : 0);
    }
    return number;
}

/// One bit for each byte that JSON escapes; the lowest is for the first byte.
inline unsigned escapeMask(const char* bytes) noexcept {
    unsigned mask = 0;
    for (std::size_t i = 0; i < SIZE; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        mask |= (byte < 0x20 || byte == '"' || byte == '\\' ? 1U : 0U) << i;
    }
    return mask;
}

/// One bit for each byte that is not ASCII.
inline unsigned nonAsciiMask(const char* bytes) noexcept {
    unsigned mask = 0;
    for (std::size_t i = 0; i < SIZE; ++i) {
        mask |= (static_cast<unsigned char>(bytes[i]) < 0x80 ? 0U : 1U) << i;
    }
    return mask;
}

}  // namespace Portable

#ifdef KORVEL_SSE2

inline __m128i load(const void* block) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(block));
}

inline void store(void* block, __m128i value) noexcept {
    _mm_storeu_si128(static_cast<__m128i*>(block), value);
}

inline bool areZero(__m128i bits) noexcept {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(bits, _mm_setzero_si128())) == 0xFFFF;
}

inline bool isAscii(const wchar_t* units) noexcept {
    const __m128i bits = _mm_or_si128(load(units), load(units + SIZE / 2));
    if constexpr (sizeof(wchar_t) == 4) {
        const __m128i rest = _mm_or_si128(load(units + SIZE / 4), load(units + SIZE / 4 * 3));
        return areZero(_mm_and_si128(_mm_or_si128(bits, rest), _mm_set1_epi32(~0x7F)));
    } else {
        return areZero(_mm_and_si128(bits, _mm_set1_epi16(~0x7F)));
    }
}

inline void widen(wchar_t* units, const char* bytes) noexcept {
    const __m128i zero = _mm_setzero_si128();
    const __m128i block = load(bytes);
    const __m128i low = _mm_unpacklo_epi8(block, zero);
    const __m128i high = _mm_unpackhi_epi8(block, zero);
    if constexpr (sizeof(wchar_t) == 4) {
        store(units, _mm_unpacklo_epi16(low, zero));
        store(units + 4, _mm_unpackhi_epi16(low, zero));
        store(units + 8, _mm_unpacklo_epi16(high, zero));
        store(units + 12, _mm_unpackhi_epi16(high, zero));
    } else {
        store(units, low);
        store(units + 8, high);
    }
}

inline void narrow(char* bytes, const wchar_t* units) noexcept {
    if constexpr (sizeof(wchar_t) == 4) {
        const __m128i low = _mm_packs_epi32(load(units), load(units + 4));
        const __m128i high = _mm_packs_epi32(load(units + 8), load(units + 12));
        store(bytes, _mm_packus_epi16(low, high));
    } else {
        store(bytes, _mm_packus_epi16(load(units), load(units + 8)));
    }
}

inline std::uint32_t packFour(const wchar_t* units) noexcept {
    __m128i block;
    if constexpr (sizeof(wchar_t) == 4) {
        block = load(units);
        block = _mm_packs_epi32(block, block);
    } else {
        block = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(units));
    }
    // Saturates: what does not fit becomes 0 or 0xFF.
    const int bytes = _mm_cvtsi128_si32(_mm_packus_epi16(block, block));
    return swapBytes(static_cast<std::uint32_t>(bytes));
}

inline bool tryNarrow(char* bytes, const wchar_t* units, std::size_t size) noexcept {
    constexpr std::size_t STEP = sizeof(__m128i) / sizeof(wchar_t);
    __m128i bits = _mm_setzero_si128();
    std::size_t done = 0;
    for (; done + STEP <= size; done += STEP) {
        __m128i block = load(units + done);
        bits = _mm_or_si128(bits, block);
        if constexpr (sizeof(wchar_t) == 4) block = _mm_packs_epi32(block, block);
        block = _mm_packus_epi16(block, block);
        std::memcpy(bytes + done, &block, STEP);
    }
    const __m128i high = sizeof(wchar_t) == 4 ? _mm_set1_epi32(~0x7F) : _mm_set1_epi16(~0x7F);
    const bool isRestAscii = Portable::tryNarrow(bytes + done, units + done, size % STEP);
    return isRestAscii && areZero(_mm_and_si128(bits, high));
}

inline unsigned escapeMask(const char* bytes) noexcept {
    const __m128i block = load(bytes);
    const __m128i isControl = _mm_cmpeq_epi8(_mm_min_epu8(block, _mm_set1_epi8(0x1F)), block);
    const __m128i isQuote = _mm_cmpeq_epi8(block, _mm_set1_epi8('"'));
    const __m128i isBackslash = _mm_cmpeq_epi8(block, _mm_set1_epi8('\\'));
    const __m128i isAny = _mm_or_si128(_mm_or_si128(isControl, isQuote), isBackslash);
    return static_cast<unsigned>(_mm_movemask_epi8(isAny));
}

inline unsigned nonAsciiMask(const char* bytes) noexcept {
    return static_cast<unsigned>(_mm_movemask_epi8(load(bytes)));
}

#else

using Portable::escapeMask;
using Portable::isAscii;
using Portable::narrow;
using Portable::nonAsciiMask;
using Portable::packFour;
using Portable::tryNarrow;
using Portable::widen;

#endif

inline std::uint32_t packFour(const char* bytes) noexcept {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes, sizeof number);
    return std::endian::native == std::endian::little ? swapBytes(number) : number;
}

inline bool isAscii(const char* bytes) noexcept {
    return nonAsciiMask(bytes) == 0;
}

/// The mask bits of the first `size` bytes.
inline unsigned maskOf(std::size_t size) noexcept {
    return (1U << size) - 1;
}

}  // namespace Korvel::TextBlock
