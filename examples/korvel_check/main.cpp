// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

/// Verifies logs and staging directories, and says what is wrong with them.

#include "Check.h"
#include "Report.h"

#include "command_line/CommandLine.h"
#include "command_line/Progress.h"
#include "command_line/Terminal.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <optional>
#include <vector>

namespace KorvelCheck {
namespace {

constexpr const char* DESCRIPTION =
    "Checks that every line of a log is strict JSON in UTF-8, and counts the entries by type and\n"
    "severity. Reports torn lines, times that go back, gaps, and what an interrupted upload has\n"
    "left. Changes nothing.";

constexpr const char* FOOTER =
    "In a directory, the staging files (*.log) are checked as one log. To check a compressed log,\n"
    "name the file /dev/stdin and pipe the output of zcat into it.\n"
    "\n"
    "Gaps, empty files, times in another form and reports of lost entries are only noted.\n"
    "\n"
    "Exit status: 0 when nothing is wrong, 1 when something is, 2 when the arguments are wrong.";

struct Arguments {
    std::vector<std::filesystem::path> paths;
    Limits limits;
    bool isJson = false;
};

void addSeconds(CLI::App& app, const char* name, const char* text, std::chrono::milliseconds& to) {
    constexpr double LONGEST = 1e9;
    app.add_option_function<double>(
           name,
           [&to](double seconds) { to = std::chrono::milliseconds(std::llround(seconds * 1000)); },
           text)
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, LONGEST).description(""));
}

std::optional<Arguments> parseArguments(int argc, const char* const* argv) {
    Arguments arguments;
    CLI::App app(DESCRIPTION, "korvel-check");
    app.footer(FOOTER);
    app.add_option("path", arguments.paths, "A log, or a staging directory")
        ->type_name("FILE|DIRECTORY")
        ->required();
    addSeconds(app, "--gap", "Note a pause longer than this; 0: none. Default: 3600",
               arguments.limits.gap);
    addSeconds(app, "--back", "Times may go back by as much as this. Default: 1",
               arguments.limits.back);
    app.add_flag("--json", arguments.isJson,
                 "Write the summary as JSON, and the details to standard error");
    if (!CommandLine::parse(app, argc, argv)) return std::nullopt;
    for (const std::filesystem::path& path : arguments.paths) {
        if (std::filesystem::exists(path)) continue;
        throw CommandLine::UsageError("There is no file or directory " + plain(path.string()) +
                                      '.');
    }
    return arguments;
}

/// True if nothing is wrong.
bool check(const Arguments& arguments) {
    Report report(arguments.isJson ? std::cerr : std::cout);
    {
        CommandLine::Progress progress(CommandLine::isErrorOutputTerminal());
        Check check(arguments.limits, report, progress);
        for (const std::filesystem::path& path : arguments.paths) check.checkPath(path);
    }
    if (arguments.isJson) {
        report.writeJson(std::cout);
    } else {
        report.writeText(std::cout);
    }
    return report.isFine();
}

}  // namespace
}  // namespace KorvelCheck

int main(int argc, char** argv) {
    return CommandLine::runProgram("korvel-check", [argc, argv] {
        const auto arguments = KorvelCheck::parseArguments(argc, argv);
        return !arguments || KorvelCheck::check(*arguments);
    });
}
