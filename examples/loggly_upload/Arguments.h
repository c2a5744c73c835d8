#pragma once

#include "LogglyUploader.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace LogglyUpload {

/// What the command line asks for.
struct Arguments {
    std::filesystem::path directory;
    UploadSettings settings;
    std::uint64_t attempts = 8;
    std::chrono::milliseconds firstWait = std::chrono::seconds(1);
};

/// Reads the command line, and the token from its file or the environment. Prints the help text and
/// returns nothing if that is asked for. Throws `CommandLine::UsageError`.
std::optional<Arguments> parseArguments(int argc, const char* const* argv);

}  // namespace LogglyUpload
