// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

/// Text of a double as a standard stream with the classic locale and default settings writes it:
/// six significant digits, correctly rounded.
namespace Korvel::DoubleText {

/// Enough for "-1.23457e-308" and for the longer NaN names of some platforms.
constexpr std::size_t MAX_SIZE = 32;

/// Writes `value` and returns its end. Up to MAX_SIZE bytes may be written, even past the end. Uses
/// exact integer arithmetic for magnitudes from about 1e-22 to 1e19, and the standard library for
/// all others.
char* write(char* out, double value);

/// The same in the global C++ locale, which can have any decimal point and grouping.
std::string inGlobalLocale(double value);

}  // namespace Korvel::DoubleText
