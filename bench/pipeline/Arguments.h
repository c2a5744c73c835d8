#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace Bench {

struct Arguments {
    std::string mode;
    std::string subject;
    unsigned producers = 1;
    unsigned entries = 10'000;
    /// The time from one entry of a producer to its next; zero is as fast as it can.
    std::chrono::nanoseconds gap = {};
    std::filesystem::path directory;
};

/// Throws `std::invalid_argument` for a word that it does not understand.
Arguments parseArguments(const std::vector<std::string>& words);

}  // namespace Bench
