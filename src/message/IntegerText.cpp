#include "message/IntegerText.h"

#include <array>
#include <cstring>

namespace Korvel::IntegerText {
namespace {

/// "00" to "99": two digits a step halve the divisions.
constexpr std::array<char, 200> PAIRS = [] {
    std::array<char, 200> pairs = {};
    for (unsigned i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

unsigned countDigits(std::uint64_t value) {
    unsigned count = 1;
    while (value >= 10000) {
        value /= 10000;
        count += 4;
    }
    if (value >= 1000) return count + 3;
    if (value >= 100) return count + 2;
    return value >= 10 ? count + 1 : count;
}

}  // namespace

char* write(char* out, std::int64_t value) noexcept {
    // Unsigned, because the smallest integer has no positive twin.
    auto magnitude = static_cast<std::uint64_t>(value);
    if (value < 0) {
        *out++ = '-';
        magnitude = 0 - magnitude;
    }
    return writePadded(out, magnitude, countDigits(magnitude));
}

char* writePadded(char* out, std::uint64_t value, unsigned count) noexcept {
    char* const end = out + count;
    char* position = end;
    for (; count >= 2; count -= 2) {
        position -= 2;
        std::memcpy(position, &PAIRS[value % 100 * 2], 2);
        value /= 100;
    }
    if (count == 1) *(position - 1) = static_cast<char>('0' + value % 10);
    return end;
}

}  // namespace Korvel::IntegerText
