// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string_view>

/// Text inside a JSON string (RFC 8259, section 7): quotation mark, backslash and the control
/// characters below U+0020 are escaped; everything else is unchanged.
namespace Korvel::JsonEscape {

/// The space for a text of `size` bytes or code units with its quotes in the worst case, and a few
/// bytes more. The writers may use all of it, and return the end of the text.
constexpr std::size_t roomFor(std::size_t size) {
    return 6 * size + 10;
}

/// Writes UTF-8 text.
char* write(char* out, std::string_view text) noexcept;

/// Writes wide text as UTF-8. Throws `std::range_error` "bad conversion" for a text that
/// Utf::encode rejects.
char* write(char* out, std::wstring_view text);

}  // namespace Korvel::JsonEscape
