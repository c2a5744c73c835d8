// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "Report.h"

#include "command_line/Progress.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace KorvelCheck {

struct Limits {
    /// A line that comes later than this after the one before is noted; zero: never.
    std::chrono::milliseconds gap{std::chrono::hours(1)};
    /// How far times may go back. The order of entries of different threads in the log can differ
    /// from the order of their times.
    std::chrono::milliseconds back{std::chrono::seconds(1)};
};

/// Checks files and staging directories one after the other. The files of a directory, in the order
/// of their names, are one log. Every other file is a log of its own.
class Check {
public:
    Check(const Limits& limits, Report& report, CommandLine::Progress& progress)
        : limits_(limits), report_(report), progress_(progress) {}

    void checkPath(const std::filesystem::path& path);

private:
    using Time = std::chrono::sys_time<std::chrono::milliseconds>;

    void checkDirectory(const std::filesystem::path& directory);
    void checkFile(const std::filesystem::path& file);
    void checkLine(const std::string& text, const std::string& place);
    void checkTime(const std::string& timestamp, const std::string& place);
    void add(Kind kind, const std::string& place, const std::string& detail = "");
    void show(const std::string& name, std::uint64_t bytes);

    const Limits limits_;
    Report& report_;
    CommandLine::Progress& progress_;
    std::chrono::steady_clock::time_point nextShow_;
    std::optional<Time> latest_;
};

}  // namespace KorvelCheck
