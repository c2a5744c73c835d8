#pragma once

#include <cstddef>
#include <string_view>

/// Text as it stands between the quotes of a JSON string (RFC 8259, section 7): quotation mark,
/// backslash and the control characters below U+0020 are escaped, everything else is itself.
namespace Korvel::JsonEscape {

/// What a text of that many bytes or units and its quotes can need at most, and a little more: the
/// writers may write up to there, and return the end of what counts.
constexpr std::size_t roomFor(std::size_t size) {
    return 6 * size + 10;
}

/// Text in UTF-8, which stays as it is.
char* write(char* out, std::string_view text) noexcept;

/// In UTF-8. Throws `std::range_error` "bad conversion" for a text that Utf::encode refuses.
char* write(char* out, std::wstring_view text);

}  // namespace Korvel::JsonEscape
