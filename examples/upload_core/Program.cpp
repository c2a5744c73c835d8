// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Program.h"

#include "command_line/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <fstream>
#include <system_error>

namespace UploadCore {
namespace {

using CommandLine::UsageError;

constexpr std::uint64_t MAX_TIMEOUT = 3600;
constexpr std::uint64_t MAX_ATTEMPTS = 1000;
constexpr std::uint64_t MAX_FIRST_WAIT = 60'000;

void checkDirectory(const std::filesystem::path& directory) {
    std::error_code error;
    const std::filesystem::directory_iterator readable(directory, error);
    if (error) {
        throw UsageError("Cannot read the directory " + directory.string() + ": " +
                         error.message() + ".");
    }
}

}  // namespace

void addDirectory(CLI::App& app, DrainSettings& settings) {
    app.add_option("directory", settings.directory, "The directory to upload")
        ->type_name("DIR")
        ->required();
}

void CommonOptions::addConnection(CLI::App& app, Connection& connection) {
    app.add_option("--ca-file", connection.caFile,
                   "Certificates to trust instead of the system's, in PEM form")
        ->type_name("FILE");
    app.add_option("--timeout", timeout_, "For one request, in seconds")
        ->check(CLI::Range(std::uint64_t(1), MAX_TIMEOUT))
        ->capture_default_str();
}

void CommonOptions::addAttempts(CLI::App& app, DrainSettings& settings) {
    app.add_option("--attempts", settings.attempts, "How often a file is offered")
        ->check(CLI::Range(std::uint64_t(1), MAX_ATTEMPTS))
        ->capture_default_str();
    app.add_option("--first-wait", firstWait_, "After the first attempt, in milliseconds")
        ->check(CLI::Range(std::uint64_t(0), MAX_FIRST_WAIT))
        ->capture_default_str();
}

void CommonOptions::apply(DrainSettings& settings, Connection& connection) const {
    checkDirectory(settings.directory);
    settings.firstWait = std::chrono::milliseconds(firstWait_);
    connection.totalTimeout = std::chrono::seconds(timeout_);
    connection.connectTimeout = (std::min)(connection.connectTimeout, connection.totalTimeout);
}

std::string tokenOfFile(const std::string& file) {
    std::ifstream stream(file);
    std::string token;
    if (!std::getline(stream, token)) {
        throw UsageError("There is no token in the file " + file + ".");
    }
    if (!token.empty() && token.back() == '\r') token.pop_back();
    return token;
}

}  // namespace UploadCore
