#pragma once

#include "LogglyUploader.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace LogglyUpload {

/// The parsed command line.
struct Arguments {
    bool wantsHelp = false;
    std::filesystem::path directory;
    UploadSettings settings;
    std::uint64_t attempts = 8;
    std::chrono::milliseconds firstWait = std::chrono::seconds(1);
};

/// The usage line.
extern const char* const USAGE_LINE;
/// The rest of the help text.
extern const char* const HELP_TEXT;

/// Parses the arguments after the program name, and reads the token from its file or the
/// environment. Throws `std::invalid_argument` with a sentence for the user.
Arguments parseArguments(const std::vector<std::string>& words);

}  // namespace LogglyUpload
