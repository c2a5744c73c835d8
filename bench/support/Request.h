#pragma once

namespace Bench {

/// The parts of the workload that no subject spells in its own way.

inline constexpr unsigned BYTES = 18342;
inline constexpr unsigned STATUS = 200;

/// A duration in milliseconds that is another one for each of a thousand requests in a row.
inline double durationOf(unsigned number) {
    return 0.25 + static_cast<double>(number % 1000) * 0.173;
}

}  // namespace Bench
