// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

/// Classification of UTF-8 bytes and UTF-16 code units for the conversions, and their failure.
namespace Korvel::Utf {

constexpr std::uint32_t LAST_OF_BMP = 0xFFFF;
constexpr std::uint32_t LAST_CODE_POINT = 0x10FFFF;

[[noreturn]] inline void fail() {
    throw std::range_error("bad conversion");
}

/// An element as a number. Where `wchar_t` is signed, a negative element becomes a large number.
inline std::uint32_t unitAt(std::wstring_view text, std::size_t position) {
    return static_cast<std::uint32_t>(text[position]);
}

inline std::uint32_t byteAt(std::string_view text, std::size_t position) {
    return static_cast<unsigned char>(text[position]);
}

inline bool isContinuation(std::uint32_t byte) {
    return (byte & 0xC0) == 0x80;
}

inline bool isSurrogate(std::uint32_t unit) {
    return (unit & 0xFFFFF800) == 0xD800;
}

inline bool isSupplementary(std::uint32_t unit) {
    return unit - (LAST_OF_BMP + 1) <= LAST_CODE_POINT - (LAST_OF_BMP + 1);
}

inline bool isHighSurrogate(std::uint32_t unit) {
    return (unit & 0xFFFFFC00) == 0xD800;
}

inline bool isLowSurrogate(std::uint32_t unit) {
    return (unit & 0xFFFFFC00) == 0xDC00;
}

inline std::uint32_t codePointOf(std::uint32_t high, std::uint32_t low) {
    return (((high & 0x3FF) + 0x40) << 10) | (low & 0x3FF);
}

inline wchar_t highSurrogate(std::uint32_t codePoint) {
    return static_cast<wchar_t>(0xD800 | ((codePoint >> 10) - 0x40));
}

inline wchar_t lowSurrogate(std::uint32_t codePoint) {
    return static_cast<wchar_t>(0xDC00 | (codePoint & 0x3FF));
}

/// The length of the sequence that `lead` starts; 0 for a continuation byte. Forms of five and six
/// bytes are obsolete, but small values in them are accepted.
inline unsigned sequenceLength(std::uint32_t lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xC0) return 0;
    if (lead < 0xE0) return 2;
    if (lead < 0xF0) return 3;
    if (lead < 0xF8) return 4;
    return lead < 0xFC ? 5 : 6;
}

}  // namespace Korvel::Utf
