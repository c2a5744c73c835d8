#pragma once

#include <cstddef>
#include <cstdint>

/// Decimal digits, whatever the locale.
namespace Korvel::IntegerText {

/// The sign and the digits of any 64-bit integer.
constexpr std::size_t LONGEST = 20;

/// Writes `value` and returns the end.
char* write(char* out, std::int64_t value) noexcept;

/// Writes the last `count` digits of `value`, with leading zeros, and returns the end.
char* writePadded(char* out, std::uint64_t value, unsigned count) noexcept;

}  // namespace Korvel::IntegerText
