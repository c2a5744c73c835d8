#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace DiskCheck {

/// What the command line asks for.
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

/// Thrown for a command line that cannot be carried out; what() says why, in a sentence for the
/// user.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The one line that shows the form of the command.
extern const char* const USAGE_LINE;
/// What follows that line in the help text.
extern const char* const HELP_TEXT;

/// Reads the words behind the program's name. The directory is checked to be one, unless help is
/// asked for. Throws UsageError.
Arguments parseArguments(const std::vector<std::string>& words);

}  // namespace DiskCheck
