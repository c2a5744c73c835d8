// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Arguments.h"

#include "command_line/CommandLine.h"
#include "upload_core/Program.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <string>

namespace LogglyUpload {
namespace {

using CommandLine::UsageError;

constexpr const char* TOKEN_VARIABLE = "LOGGLY_TOKEN";

constexpr const char* FOOTER =
    "The token comes from the file, or else from the variable LOGGLY_TOKEN. Each wait is twice\n"
    "as long as the one before, up to a minute, and varies by up to a half.\n"
    "\n";

void addService(CLI::App& app, UploadSettings& settings, std::string& tokenFile) {
    app.add_option("--url", settings.url, "The service, such as https://logs-01.loggly.com")
        ->type_name("URL")
        ->required();
    app.add_option("--token-file", tokenFile, "A file with the token")->type_name("FILE");
    app.add_option("--tag", settings.tags, "A tag for all entries; can be given several times")
        ->type_name("TAG")
        ->allow_extra_args(false);
}

std::string tokenOfEnvironment() {
    const char* const value = std::getenv(TOKEN_VARIABLE);
    if (value == nullptr || *value == '\0') {
        throw UsageError(std::string("The token is missing: use --token-file or set ") +
                         TOKEN_VARIABLE + ".");
    }
    return value;
}

}  // namespace

std::optional<Arguments> parseArguments(int argc, const char* const* argv) {
    Arguments arguments;
    UploadSettings& settings = arguments.upload;
    std::string tokenFile;
    UploadCore::CommonOptions common;
    CLI::App app(UploadCore::DESCRIPTION, "loggly_upload");
    app.footer(std::string(FOOTER) + UploadCore::EXIT_STATUS);
    UploadCore::addDirectory(app, arguments.drain);
    addService(app, settings, tokenFile);
    common.addConnection(app, settings.connection);
    common.addAttempts(app, arguments.drain);
    if (!CommandLine::parse(app, argc, argv)) return std::nullopt;
    common.apply(arguments.drain, settings.connection);
    arguments.drain.program = "loggly_upload";
    arguments.drain.urlOption = "--url";
    settings.token = tokenFile.empty() ? tokenOfEnvironment() : UploadCore::tokenOfFile(tokenFile);
    return arguments;
}

}  // namespace LogglyUpload
