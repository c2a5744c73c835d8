// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "message/text/IntegerText.h"

#include <array>
#include <bit>
#include <cstring>

namespace Korvel::IntegerText {
namespace {

/// "00" to "99".
constexpr std::array<char, 200> PAIRS = [] {
    std::array<char, 200> pairs = {};
    for (std::size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

/// 10^0 to 10^19.
constexpr std::array<std::uint64_t, 20> POWERS = [] {
    std::array<std::uint64_t, 20> powers = {1};
    for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
    return powers;
}();

/// Branch-free, because the digit counts of logged numbers are hard to predict.
unsigned countDigits(std::uint64_t value) {
    // 1233 / 4096 is close to the logarithm of 2: the guess is right or one too small.
    const unsigned guess = static_cast<unsigned>(std::bit_width(value | 1)) * 1233 >> 12;
    return guess + ((value | 1) >= POWERS[guess] ? 1 : 0);
}

void writePair(char* out, std::uint32_t value) {
    std::memcpy(out, &PAIRS[std::size_t{value} * 2], 2);
}

void writeFour(char* out, std::uint32_t value) {
    writePair(out, value / 100);
    writePair(out + 2, value % 100);
}

}  // namespace

char* write(char* out, std::int64_t value) noexcept {
    *out = '-';
    out += value < 0 ? 1 : 0;
    // Unsigned, because the smallest integer has no positive counterpart.
    const auto bits = static_cast<std::uint64_t>(value);
    std::uint64_t magnitude = value < 0 ? 0 - bits : bits;
    char* const end = out + countDigits(magnitude);
    char* position = end;
    // Four digits per step keep the chain of divisions short.
    for (; magnitude >= 10000; magnitude /= 10000) {
        position -= 4;
        writeFour(position, static_cast<std::uint32_t>(magnitude % 10000));
    }
    writePadded(out, static_cast<unsigned>(magnitude), static_cast<unsigned>(position - out));
    return end;
}

char* writePadded(char* out, unsigned value, unsigned count) noexcept {
    char* const end = out + count;
    if (count >= 2) writePair(end - 2, value % 100);
    if (count == 4) writePair(out, value / 100);
    if (count == 3) *out = static_cast<char>('0' + value / 100);
    if (count == 1) *out = static_cast<char>('0' + value);
    return end;
}

}  // namespace Korvel::IntegerText
