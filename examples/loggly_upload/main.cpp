// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

/// Uploads the staging files left by a program with a LogglySink to a service with Loggly's HTTP
/// interface.

#include "Arguments.h"

#include "command_line/CommandLine.h"

int main(int argc, char** argv) {
    return CommandLine::runProgram("loggly_upload", [argc, argv] {
        const auto arguments = LogglyUpload::parseArguments(argc, argv);
        if (!arguments) return true;
        LogglyUpload::LogglyUploader uploader(arguments->upload);
        return UploadCore::drain(uploader, arguments->drain);
    });
}
