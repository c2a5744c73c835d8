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

/// Nanoseconds of one call each. Four bytes hold up to four seconds; a longer one counts as that.
using Times = std::vector<std::uint32_t>;

/// Calls `work` and tells how long that took.
template <class Work>
std::uint32_t timeOf(const Work& work) {
    const Clock::time_point begin = Clock::now();
    work();
    const std::chrono::nanoseconds span = Clock::now() - begin;
    return static_cast<std::uint32_t>(std::min<std::int64_t>(span.count(), UINT32_MAX));
}

/// One line of JSON, built value by value.
class Report {
public:
    Report& add(const std::string& key, const std::string& value);
    Report& add(const std::string& key, double value);
    /// The mean, the median, p99, p99.9 and the worst of `times`, which must not be empty.
    Report& add(const std::string& key, Times times);
    void print() const;

private:
    std::string text_;
};

/// The processor time that the threads of this process have used, in nanoseconds.
double cpuTime();

/// The bytes that the heap holds in use, with what its allocator adds to each block.
std::size_t heapInUse();

/// The lines of a file, each of which must be an object's: throws `std::runtime_error` for one that
/// is not.
std::size_t countLines(const std::filesystem::path& file);

}  // namespace Bench
