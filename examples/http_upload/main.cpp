// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

/// Uploads the staging files left by a program with a LogglySink to any HTTP service that takes
/// JSON lines. docs/shipping.md shows how.

#include "Arguments.h"

#include "command_line/CommandLine.h"

int main(int argc, char** argv) {
    return CommandLine::runProgram("http_upload", [argc, argv] {
        const auto arguments = HttpUpload::parseArguments(argc, argv);
        if (!arguments) return true;
        UploadCore::HttpUploader uploader(arguments->http);
        return UploadCore::drain(uploader, arguments->drain);
    });
}
