// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace Bench {

using Clock = std::chrono::steady_clock;

/// Durations of single calls in nanoseconds. Four bytes hold up to four seconds; longer calls are
/// clamped to that.
using Times = std::vector<std::uint32_t>;

/// Calls `work` and returns its duration.
template <class Work>
std::uint32_t timeOf(const Work& work) {
    const Clock::time_point begin = Clock::now();
    work();
    const std::chrono::nanoseconds span = Clock::now() - begin;
    return static_cast<std::uint32_t>(std::min<std::int64_t>(span.count(), UINT32_MAX));
}

/// A line of JSON, built value by value.
class Report {
public:
    Report& add(const std::string& key, const std::string& value);
    Report& add(const std::string& key, double value);
    /// Adds the mean, median, p99, p99.9 and maximum of `times`, which must not be empty.
    Report& add(const std::string& key, Times times);
    void print() const;

private:
    std::string text_;
};

/// The processor time that the threads of this process have used, in nanoseconds.
double cpuTime();

/// The bytes in use on the heap, including the allocator's overhead per block.
std::size_t heapInUse();

/// Returns the number of lines in a file. Throws `std::runtime_error` for a line that is not an
/// object.
std::size_t countLines(const std::filesystem::path& file);

}  // namespace Bench
