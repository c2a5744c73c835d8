#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace DiskCheck {

/// The parsed command line.
struct Arguments {
    bool wantsHelp = false;
    std::filesystem::path directory;
    std::uint64_t threads = 1;
    std::filesystem::path out = ".";
    std::uint64_t limit = (std::numeric_limits<std::uint64_t>::max)();
    /// Empty without staging.
    std::filesystem::path stage;
    /// Empty without an upload over HTTP.
    std::string uploadUrl;
};

/// Thrown for an invalid command line; what() explains why in a sentence for the user.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The usage line.
extern const char* const USAGE_LINE;
/// The rest of the help text.
extern const char* const HELP_TEXT;

/// Parses the arguments after the program name. Checks that the directory exists, unless help is
/// requested. Throws UsageError.
Arguments parseArguments(const std::vector<std::string>& words);

}  // namespace DiskCheck
