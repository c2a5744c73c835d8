// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Arguments.h"

#include "command_line/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <system_error>
#include <thread>

namespace DiskCheck {
namespace {

using CommandLine::UsageError;

constexpr std::uint64_t MAX_THREADS = 256;

constexpr const char* DESCRIPTION =
    "Walks a directory tree and logs every file in it to disk_check.jsonl, one JSON text a line.\n"
    "Problems and the summary are shown on the console as well. Links are not followed.";

constexpr const char* FOOTER =
    "Exit status: 0 when the walk has been logged, problems among the files included; 1 when the\n"
    "log could not be written or delivered; 2 when the arguments are wrong.";

void addOptions(CLI::App& app, Arguments& arguments) {
    app.add_option("directory", arguments.directory, "The directory to walk")
        ->type_name("DIR")
        ->required();
    app.add_option("--threads", arguments.threads, "How many threads walk")
        ->check(CLI::Range(std::uint64_t(1), MAX_THREADS))
        ->capture_default_str();
    app.add_option("--out", arguments.out, "Where disk_check.jsonl goes; made if missing")
        ->type_name("DIR")
        ->default_str(".");
    app.add_option("--limit", arguments.limit, "Stop after so many files, directories and links");
    CLI::Option* const stage =
        app.add_option("--stage", arguments.stage,
                       "Keep the entries in staging files here too, made if missing, and deliver\n"
                       "them at the end, into the directory \"delivered\" next to it")
            ->type_name("DIR");
    app.add_option("--upload", arguments.uploadUrl,
                   "Deliver them to the log service at this address instead, with the token in\n"
                   "the variable LOGGLY_TOKEN")
        ->type_name("URL")
        ->needs(stage);
}

void checkDirectory(const std::filesystem::path& directory) {
    std::error_code error;
    if (std::filesystem::is_directory(directory, error)) return;
    const std::string reason = error ? error.message() : "not a directory";
    throw UsageError("Cannot check \"" + directory.string() + "\": " + reason + ".");
}

}  // namespace

std::optional<Arguments> parseArguments(int argc, const char* const* argv) {
    Arguments arguments;
    arguments.threads =
        std::clamp<std::uint64_t>(std::thread::hardware_concurrency(), 1, MAX_THREADS);
    CLI::App app(DESCRIPTION, "disk_check");
    app.footer(FOOTER);
    addOptions(app, arguments);
    if (!CommandLine::parse(app, argc, argv)) return std::nullopt;
    checkDirectory(arguments.directory);
    return arguments;
}

}  // namespace DiskCheck
