// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "message/text/DoubleText.h"

#include "message/text/IntegerText.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <locale>
#include <sstream>
#include <string_view>

namespace Korvel::DoubleText {
namespace {

constexpr int PRECISION = 6;
constexpr std::uint64_t SEVEN_DIGITS = 1000000;
constexpr int MANTISSA_BITS = 52;
constexpr int EXPONENT_BIAS = 1075;  // For a mantissa read as an integer.

/// The largest power of five that fits into 64 bits. It scales magnitudes down to about 1e-22 to
/// six digits.
constexpr int MAX_FIVES = 27;
constexpr int MIN_EXPONENT = PRECISION - 1 - MAX_FIVES;
constexpr int MAX_BINARY_EXPONENT = 63;
constexpr int MAX_TENS = 14;

constexpr std::array<std::uint64_t, MAX_FIVES + 1> powersOf(std::uint64_t base, int count) {
    std::array<std::uint64_t, MAX_FIVES + 1> powers = {1};
    for (int i = 1; i <= count; ++i) {
        powers[static_cast<std::size_t>(i)] = powers[static_cast<std::size_t>(i) - 1] * base;
    }
    return powers;
}

constexpr auto POWERS_OF_5 = powersOf(5, MAX_FIVES);
constexpr auto POWERS_OF_10 = powersOf(10, MAX_TENS);

/// A finite magnitude: mantissa * 2^exponent.
struct Binary {
    std::uint64_t mantissa;
    int exponent;
};

/// A magnitude as an integer and its fraction: whether that is at least a half, and whether
/// anything remains beyond that half.
struct Scaled {
    std::uint64_t digits;
    bool half;
    bool more;
};

struct Product {
    std::uint64_t high;
    std::uint64_t low;
};

Product multiply(std::uint64_t a, std::uint64_t b) {
    const std::uint64_t aLow = a & 0xFFFFFFFF;
    const std::uint64_t aHigh = a >> 32;
    const std::uint64_t bLow = b & 0xFFFFFFFF;
    const std::uint64_t bHigh = b >> 32;
    const std::uint64_t low = aLow * bLow;
    const std::uint64_t middle = aHigh * bLow + (low >> 32);
    const std::uint64_t other = aLow * bHigh + (middle & 0xFFFFFFFF);
    return {aHigh * bHigh + (middle >> 32) + (other >> 32), (other << 32) | (low & 0xFFFFFFFF)};
}

/// product / 2^shift, for a shift from 1 to 127.
Scaled shiftDown(Product product, int shift) {
    if (shift > 64) {
        const std::uint64_t half = std::uint64_t{1} << (shift - 65);
        return {product.high >> (shift - 64), (product.high & half) != 0,
                (product.high & (half - 1)) != 0 || product.low != 0};
    }
    const std::uint64_t half = std::uint64_t{1} << (shift - 1);
    const std::uint64_t digits =
        shift == 64 ? product.high : (product.high << (64 - shift)) | (product.low >> shift);
    return {digits, (product.low & half) != 0, (product.low & (half - 1)) != 0};
}

/// value * 10^places, exactly: multiplies by the fives and shifts by the twos. The product has at
/// least 53 bits and the result at most 24, so the shift is always to the right.
Scaled scaleUp(Binary value, int places) {
    const Product product = multiply(value.mantissa, POWERS_OF_5[static_cast<std::size_t>(places)]);
    return shiftDown(product, -(value.exponent + places));
}

/// value / 10^places, exactly, for values below 2^64.
Scaled scaleDown(Binary value, int places) {
    const Scaled whole = value.exponent >= 0
                             ? Scaled{value.mantissa << value.exponent, false, false}
                             : shiftDown({0, value.mantissa}, -value.exponent);
    const std::uint64_t power = POWERS_OF_10[static_cast<std::size_t>(places)];
    const std::uint64_t rest = whole.digits % power;
    const bool isHalf = rest >= power / 2;
    return {whole.digits / power, isHalf,
            rest != (isHalf ? power / 2 : 0) || whole.half || whole.more};
}

/// Rounds to nearest, a tie to the even digit.
std::uint64_t roundUnits(Scaled scaled) {
    const bool up = scaled.half && (scaled.more || scaled.digits % 2 == 1);
    return scaled.digits + (up ? 1 : 0);
}

/// Rounds seven digits to six.
std::uint64_t roundTens(Scaled scaled) {
    const std::uint64_t last = scaled.digits % 10;
    const std::uint64_t digits = scaled.digits / 10;
    const bool isOver = last > 5 || (last == 5 && (scaled.half || scaled.more));
    return digits + (isOver || (last == 5 && digits % 2 == 1) ? 1 : 0);
}

/// Returns the digits of a number below 1,000,000 as text, the first in the lowest byte. The number
/// is padded to eight digits and split into two groups of four, then four groups of two, then eight
/// digits, all groups of a step at once. Each multiplication and shift is a division by 100 or 10
/// that is exact for such small values.
std::uint64_t sixDigits(std::uint32_t number) {
    const std::uint64_t fours = number / 10000 | std::uint64_t{number % 10000} << 32;
    const std::uint64_t hundreds = ((fours * 10486) >> 20) & 0x0000007F0000007F;
    const std::uint64_t twos = hundreds | (fours - 100 * hundreds) << 16;
    const std::uint64_t tens = ((twos * 103) >> 10) & 0x000F000F000F000F;
    const std::uint64_t ones = tens | (twos - 10 * tens) << 8;
    return (ones | 0x3030303030303030) >> 16;
}

/// Writes eight bytes, the lowest first.
void storeBytes(char* out, std::uint64_t bytes) {
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(out, &bytes, sizeof bytes);
    } else {
        for (unsigned i = 0; i < 8; ++i) out[i] = static_cast<char>(bytes >> (8 * i) & 0xFF);
    }
}

/// Writes six digits, the first with the weight 10^exponent, in general notation.
char* writeDigits(char* out, std::uint32_t digits, int exponent) {
    const std::uint64_t text = sixDigits(digits);
    // Trailing zeros are dropped. The first digit is in the lowest byte and is never zero.
    const int count = 8 - std::countl_zero(text ^ 0x303030303030) / 8;
    const bool isScientific = exponent < -4 || exponent >= PRECISION;
    if (!isScientific && exponent < 0) {
        constexpr std::string_view ZEROS = "0.000";
        ZEROS.copy(out, ZEROS.size());
        out += 1 - exponent;
        storeBytes(out, text);
        return out + count;
    }
    const int whole = isScientific ? 1 : exponent + 1;
    storeBytes(out, text);
    out[whole] = '.';
    storeBytes(out + whole + 1, text >> (8 * whole));
    out += count > whole ? count + 1 : whole;
    if (!isScientific) return out;
    out[0] = 'e';
    out[1] = exponent < 0 ? '-' : '+';
    return IntegerText::writePadded(out + 2, static_cast<unsigned>(std::abs(exponent)), 2);
}

std::string streamed(double value, const std::locale& locale) {
    std::ostringstream stream;
    stream.imbue(locale);
    stream << value;
    return stream.str();
}

char* writeSlowly(char* out, double value) {
    if (std::isfinite(value)) {
        return std::to_chars(out, out + MAX_SIZE, value, std::chars_format::general, PRECISION).ptr;
    }
    const std::string text = streamed(value, std::locale::classic());
    return out + text.copy(out, text.size());
}

}  // namespace

char* write(char* out, double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const int biased = static_cast<int>(bits >> MANTISSA_BITS) & 0x7FF;
    const std::uint64_t hidden = std::uint64_t{1} << MANTISSA_BITS;
    const Binary magnitude = {(bits & (hidden - 1)) | hidden, biased - EXPONENT_BIAS};
    const int binaryExponent = magnitude.exponent + MANTISSA_BITS;
    // The decimal exponent, or one less: 1233 / 4096 is a little below the logarithm of 2, and the
    // shift rounds down.
    int exponent = (binaryExponent * 1233) >> 12;
    if (exponent < MIN_EXPONENT || binaryExponent > MAX_BINARY_EXPONENT) {
        return writeSlowly(out, value);
    }
    const int places = PRECISION - 1 - exponent;
    const Scaled scaled = places >= 0 ? scaleUp(magnitude, places) : scaleDown(magnitude, -places);
    std::uint64_t digits = 0;
    if (scaled.digits < SEVEN_DIGITS) {
        digits = roundUnits(scaled);
    } else {
        digits = roundTens(scaled);
        ++exponent;
    }
    if (digits == SEVEN_DIGITS) {
        digits /= 10;
        ++exponent;
    }
    *out = '-';
    out += value < 0 ? 1 : 0;
    return writeDigits(out, static_cast<std::uint32_t>(digits), exponent);
}

std::string inGlobalLocale(double value) {
    return streamed(value, std::locale());
}

}  // namespace Korvel::DoubleText
