// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "Drain.h"

#include <string>

namespace CLI {
class App;
}

/// The common parts of the command lines of the uploading programs.
namespace UploadCore {

constexpr const char* DESCRIPTION =
    "Sends the staging files (*.log) of a directory to a log service, in the order of their\n"
    "names, and deletes each file that the service has taken. No other process may use the\n"
    "directory meanwhile.";

constexpr const char* EXIT_STATUS =
    "Exit status: 0 when everything is delivered or nothing was ready; 1 when files are left or\n"
    "rejected, or an interrupted upload has left a file that ends in .log.tmp; 2 when the\n"
    "arguments are wrong.";

void addDirectory(CLI::App& app, DrainSettings& settings);

/// The options for the attempts and the connection.
class CommonOptions {
public:
    void addConnection(CLI::App& app, Connection& connection);
    void addAttempts(CLI::App& app, DrainSettings& settings);

    /// To be called after parsing. Throws `CommandLine::UsageError` if the directory cannot be
    /// read.
    void apply(DrainSettings& settings, Connection& connection) const;

private:
    std::uint64_t timeout_ = 60;
    std::uint64_t firstWait_ = 1000;
};

/// The first line of the file. Throws `CommandLine::UsageError` if there is none.
std::string tokenOfFile(const std::string& file);

}  // namespace UploadCore
