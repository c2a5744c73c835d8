#pragma once

#include "LogglyUploader.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace LogglyUpload {

/// What the command line asks for.
struct Arguments {
    bool wantsHelp = false;
    std::filesystem::path directory;
    UploadSettings settings;
    std::uint64_t attempts = 8;
    std::chrono::milliseconds firstWait = std::chrono::seconds(1);
};

/// The one line that shows the form of the command.
extern const char* const USAGE_LINE;
/// What follows that line in the help text.
extern const char* const HELP_TEXT;

/// Reads the words behind the program's name, and the token from its file or the environment.
/// Throws `std::invalid_argument` with a sentence for the user.
Arguments parseArguments(const std::vector<std::string>& words);

}  // namespace LogglyUpload
