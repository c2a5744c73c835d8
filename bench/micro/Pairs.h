#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace Bench {

/// So many calls of one side are timed in a row before it is the other side's turn.
inline constexpr std::size_t CALLS_A_TURN = 16;

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
};

/// Adds a benchmark that runs both sides by turns, so that a disturbance of the machine meets both,
/// and reports the processor time of a call of each as the counters "own" and "other".
void addPair(const std::string& name, const std::function<Pair()>& make);

}  // namespace Bench
