// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Arguments.h"

#include "Gzip.h"

#include "command_line/CommandLine.h"
#include "upload_core/Program.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>

namespace HttpUpload {
namespace {

using CommandLine::UsageError;

constexpr const char* FOOTER =
    "Each file is the body of one POST request to the URL, which is sent as it is, with its "
    "query.\n"
    "Any status from 200 to 299 means that the service has taken the file. 400 and 413 reject it:\n"
    "it moves into the subdirectory \"rejected\" once the service has taken another. 401, 403 and\n"
    "404 stop the program. After everything else, the file is offered again. Each wait is twice "
    "as\n"
    "long as the one before, up to a minute, and varies by up to a half.\n"
    "\n"
    "Every user of the machine can read a command line, so secrets belong in the token file.\n"
    "\n";

/// The options that add headers.
struct RawHeaders {
    std::string tokenFile;
    std::string tokenHeader = "Authorization: Bearer";
    bool isCompressed = false;
};

void addRequest(CLI::App& app, UploadCore::HttpSettings& http, RawHeaders& raw) {
    app.add_option("--endpoint", http.url, "Where to send the files, percent-encoded")
        ->type_name("URL")
        ->required();
    app.add_option("--header", http.headers,
                   "A header, \"Name: value\"; can be given several times. The default "
                   "Content-Type is application/x-ndjson")
        ->type_name("HEADER")
        ->allow_extra_args(false);
    app.add_option("--token-file", raw.tokenFile, "A file with a token for the header below")
        ->type_name("FILE");
    app.add_option("--token-header", raw.tokenHeader,
                   "The header, up to the space before the token")
        ->type_name("TEXT")
        ->capture_default_str();
    app.add_flag("--gzip", raw.isCompressed, "Compress, with the Content-Encoding gzip");
}

bool hasContentType(const std::vector<std::string>& headers) {
    return std::any_of(headers.begin(), headers.end(), [](const std::string& line) {
        return CLI::detail::to_lower(line.substr(0, line.find(':'))) == "content-type";
    });
}

/// A line break in the token would make libcurl send the rest of it as another header.
std::string checkedToken(const std::string& token) {
    const bool isVisible = std::all_of(token.begin(), token.end(), [](char character) {
        return character > ' ' && character <= '~';
    });
    if (token.empty() || !isVisible) {
        throw UsageError("The token must consist of visible ASCII characters.");
    }
    return token;
}

void completeRequest(UploadCore::HttpSettings& http, const RawHeaders& raw) {
    if (!hasContentType(http.headers)) {
        http.headers.emplace_back("Content-Type: application/x-ndjson");
    }
    if (!raw.tokenFile.empty()) {
        const std::string token = checkedToken(UploadCore::tokenOfFile(raw.tokenFile));
        http.headers.push_back(raw.tokenHeader + ' ' + token);
    }
    if (!raw.isCompressed) return;
    http.headers.emplace_back("Content-Encoding: gzip");
    http.encode = gzip;
}

}  // namespace

std::optional<Arguments> parseArguments(int argc, const char* const* argv) {
    Arguments arguments;
    RawHeaders raw;
    UploadCore::CommonOptions common;
    CLI::App app(UploadCore::DESCRIPTION, "http_upload");
    app.footer(std::string(FOOTER) + UploadCore::EXIT_STATUS);
    UploadCore::addDirectory(app, arguments.drain);
    addRequest(app, arguments.http, raw);
    common.addConnection(app, arguments.http.connection);
    common.addAttempts(app, arguments.drain);
    if (!CommandLine::parse(app, argc, argv)) return std::nullopt;
    common.apply(arguments.drain, arguments.http.connection);
    arguments.drain.program = "http_upload";
    arguments.drain.urlOption = "--endpoint";
    completeRequest(arguments.http, raw);
    return arguments;
}

}  // namespace HttpUpload
