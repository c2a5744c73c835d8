// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
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
    /// The time between two entries of a producer; zero means as fast as possible.
    std::chrono::nanoseconds gap = {};
    std::filesystem::path directory;
};

/// Throws `std::invalid_argument` for an unknown argument.
Arguments parseArguments(const std::vector<std::string>& words);

}  // namespace Bench
