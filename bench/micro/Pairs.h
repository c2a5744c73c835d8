// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace Bench {

/// One side of a comparison.
struct Side {
    /// Receives the number of the call within its turn.
    std::function<void(std::size_t)> call;
    /// Prepares a turn; not timed.
    std::function<void()> prepare = [] {};
};

/// The measured side and the side it is compared with.
struct Pair {
    Side own;
    Side other;
    /// The number of timed calls per turn of one side.
    std::size_t callsATurn = 16;
};

/// Adds a benchmark in which both sides take turns, so a disturbance of the machine affects both.
/// It reports the processor time of one call of each side in nanoseconds, as the counters "own" and
/// "other".
void addPair(const std::string& name, const std::function<Pair()>& make);

}  // namespace Bench
