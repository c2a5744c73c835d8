#pragma once

#include <cstddef>

/// What a standard stream of the classic locale with default settings writes for a double: six
/// significant digits, correctly rounded.
namespace Korvel::DoubleText {

/// "-1.23457e-308"; some platforms have longer names for a NaN.
constexpr std::size_t LONGEST = 32;

/// Writes `value` and returns the end. Exact integer arithmetic for magnitudes that logs hold, from
/// about 1e-22 to 1e19, and writeSlowly for the rest.
char* write(char* out, double value);

/// The same for every value, by the standard library.
char* writeSlowly(char* out, double value);

}  // namespace Korvel::DoubleText
