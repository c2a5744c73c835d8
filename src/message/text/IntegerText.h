#pragma once

#include <cstddef>
#include <cstdint>

/// Decimal digits, whatever the locale. The writers return the end.
namespace Korvel::IntegerText {

/// The sign and the digits of any 64-bit integer.
constexpr std::size_t MAX_SIZE = 20;

char* write(char* out, std::int64_t value) noexcept;

/// A number of at most `count` digits, which are at most four, with leading zeros.
char* writePadded(char* out, unsigned value, unsigned count) noexcept;

}  // namespace Korvel::IntegerText
