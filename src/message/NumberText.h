#pragma once

#include <cstdint>
#include <string>

namespace Korvel {

/// Appends the decimal digits, whatever the locale.
void appendInteger(std::string& text, std::int64_t value);

/// Appends what a standard stream with default settings writes: six significant digits, in the form
/// of the global C++ locale.
void appendDouble(std::string& text, double value);

}  // namespace Korvel
