// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

namespace Bench {

/// The parts of the workload that are the same for all subjects.

inline constexpr unsigned BYTES = 18342;
inline constexpr unsigned STATUS = 200;

/// A duration in milliseconds, different for each of 1,000 consecutive requests.
inline double durationOf(unsigned number) {
    return 0.25 + static_cast<double>(number % 1000) * 0.173;
}

}  // namespace Bench
