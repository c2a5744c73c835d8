// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Conversion between UTF-8 and UTF-16 in `wchar_t` code units, as Message::strToWstr and
/// Message::wstrToStr promise. Failures throw `std::range_error` "bad conversion".
namespace Korvel::Utf {

/// The maximum number of bytes for one element of a wide text.
constexpr std::size_t MAX_SEQUENCE = 4;
constexpr std::size_t NOT_EXACT = std::string::npos;

std::wstring decode(std::string_view text);
std::string encode(std::wstring_view text);

/// Whether `text` is well-formed UTF-8 (the Unicode standard, table 3-7), without the other forms
/// that decode accepts. Such a text survives decode and encode unchanged.
bool isWellFormed(std::string_view text) noexcept;

/// The size of `text` in UTF-8, or NOT_EXACT if a lone surrogate or an element above U+10FFFF keeps
/// it from reading back unchanged.
std::size_t exactSize(std::wstring_view text) noexcept;

/// Writes a text that has an exactSize and returns the end.
char* encodeExact(char* bytes, std::wstring_view text) noexcept;

/// Writes the UTF-8 bytes of the character that starts at `position` of `text` and moves `position`
/// past it. Returns the end of the at most MAX_SEQUENCE bytes.
char* encodeCharacter(char* bytes, std::wstring_view text, std::size_t& position);

/// Whether `text` has an element that holds a supplementary code point, as a `wchar_t` wider than
/// 16 bits can.
bool hasSupplementaryElement(std::wstring_view text) noexcept;

/// `text` with every such element split into its surrogate pair.
std::wstring splitSupplementary(std::wstring_view text);

/// The first `limit` bytes of `bytes`, cut back to the last complete character, with U+FFFD for
/// every stray byte.
std::string readablePrefix(std::string_view bytes, std::size_t limit);

}  // namespace Korvel::Utf
