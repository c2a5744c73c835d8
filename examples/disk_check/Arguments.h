// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>

namespace DiskCheck {

/// What the command line asks for.
struct Arguments {
    std::filesystem::path directory;
    std::uint64_t threads = 1;
    std::filesystem::path out = ".";
    std::uint64_t limit = (std::numeric_limits<std::uint64_t>::max)();
    /// Empty without staging.
    std::filesystem::path stage;
    /// Empty without an upload over HTTP.
    std::string uploadUrl;
};

/// Reads the command line and checks that the directory is one. Prints the help text and returns
/// nothing if that is asked for. Throws `CommandLine::UsageError`.
std::optional<Arguments> parseArguments(int argc, const char* const* argv);

}  // namespace DiskCheck
