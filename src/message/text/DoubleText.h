#pragma once

#include <cstddef>
#include <string>

/// What a standard stream of the classic locale with default settings writes for a double: six
/// significant digits, correctly rounded.
namespace Korvel::DoubleText {

/// "-1.23457e-308"; some platforms have longer names for a NaN.
constexpr std::size_t MAX_SIZE = 32;

/// Writes `value` and returns the end; MAX_SIZE bytes may be written, whatever the end is. Exact
/// integer arithmetic for magnitudes that logs hold, from about 1e-22 to 1e19; the standard library
/// writes the rest.
char* write(char* out, double value);

/// The same in the global C++ locale, which can have any decimal point and grouping.
std::string inGlobalLocale(double value);

}  // namespace Korvel::DoubleText
