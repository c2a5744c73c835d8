#include "message/NumberText.h"

#include <charconv>
#include <cmath>
#include <locale>
#include <sstream>

namespace Korvel {
namespace {

/// Enough for the sign and digits of any 64-bit integer, and for any double of six digits.
constexpr std::size_t NUMBER_CAPACITY = 32;
constexpr int STREAM_PRECISION = 6;

}  // namespace

void appendInteger(std::string& text, std::int64_t value) {
    char digits[NUMBER_CAPACITY];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    text.append(digits, result.ptr);
}

void appendDouble(std::string& text, double value) {
    if (std::isfinite(value) && std::locale() == std::locale::classic()) {
        char digits[NUMBER_CAPACITY];
        const auto result = std::to_chars(digits, digits + sizeof digits, value,
                                          std::chars_format::general, STREAM_PRECISION);
        text.append(digits, result.ptr);
    } else {
        std::ostringstream stream;
        stream << value;
        text += stream.str();
    }
}

}  // namespace Korvel
