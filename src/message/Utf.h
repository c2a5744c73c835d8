#pragma once

#include <cstddef>
#include <string>

/// Conversion between UTF-8 and UTF-16 in `wchar_t` code units, as Message::strToWstr and
/// Message::wstrToStr promise it. Failures throw `std::range_error` "bad conversion".
namespace Korvel::Utf {

std::wstring decode(const std::string& text);
std::string encode(const std::wstring& text);

/// Appends the UTF-8 bytes of the character that starts at `position` of `text`, and returns the
/// position behind it.
std::size_t appendCharacter(std::string& bytes, const std::wstring& text, std::size_t position);

/// Whether `text` has an element that stands for a whole supplementary character, as a `wchar_t`
/// wider than 16 bits can.
bool hasSupplementaryElement(const std::wstring& text) noexcept;

/// `text` with every such element split into its surrogate pair.
std::wstring splitSupplementary(std::wstring text);

/// The first `limit` bytes of `bytes`, cut back to the last whole character, with U+FFFD for every
/// byte that belongs to none.
std::string readablePrefix(const std::string& bytes, std::size_t limit);

}  // namespace Korvel::Utf
