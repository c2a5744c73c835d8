// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

/// Decimal digits, independent of the locale. The writers return the end of the text.
namespace Korvel::IntegerText {

/// The sign and the digits of any 64-bit integer.
constexpr std::size_t MAX_SIZE = 20;

char* write(char* out, std::int64_t value) noexcept;

/// Writes a number as `count` digits with leading zeros. `count` must be 1 to 4 and large enough.
char* writePadded(char* out, unsigned value, unsigned count) noexcept;

}  // namespace Korvel::IntegerText
