#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace Bench {

/// One side of a comparison.
struct Side {
    /// Gets the number of the call in its turn.
    std::function<void(std::size_t)> call;
    /// Makes a turn ready, and is not timed.
    std::function<void()> prepare = [] {};
};

/// What is measured, and what it is compared with.
struct Pair {
    Side own;
    Side other;
    /// The calls of one side that are timed in a row before it is the other side's turn.
    std::size_t callsATurn = 16;
};

/// Adds a benchmark in which both sides take turns, so that a disturbance of the machine meets
/// both. It reports the processor time of a call of each in nanoseconds, as the counters "own" and
/// "other".
void addPair(const std::string& name, const std::function<Pair()>& make);

}  // namespace Bench
