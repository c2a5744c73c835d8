// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "upload_core/Drain.h"

#include <optional>

namespace HttpUpload {

/// What the command line asks for.
struct Arguments {
    UploadCore::DrainSettings drain;
    UploadCore::HttpSettings http;
};

/// Reads the command line, and the token from its file. Prints the help text and returns nothing if
/// that is asked for. Throws `CommandLine::UsageError`.
std::optional<Arguments> parseArguments(int argc, const char* const* argv);

}  // namespace HttpUpload
