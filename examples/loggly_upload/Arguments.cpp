#include "Arguments.h"

#include "command_line/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>
#include <system_error>

namespace LogglyUpload {
namespace {

using CommandLine::UsageError;

constexpr const char* TOKEN_VARIABLE = "LOGGLY_TOKEN";

constexpr std::uint64_t MAX_TIMEOUT = 3600;
constexpr std::uint64_t MAX_ATTEMPTS = 1000;
constexpr std::uint64_t MAX_FIRST_WAIT = 60'000;

constexpr const char* DESCRIPTION =
    "Sends the staging files (*.log) of a directory to a log service, in the order of their\n"
    "names, and deletes each file that the service has taken. No other process may use the\n"
    "directory meanwhile.";

constexpr const char* FOOTER =
    "The token comes from the file, or else from the variable LOGGLY_TOKEN. Each wait is twice\n"
    "as long as the one before, up to a minute, and varies by up to a half.\n"
    "\n"
    "Exit status: 0 when everything is delivered or nothing was ready; 1 when files are left or\n"
    "rejected, or an interrupted upload has left a file in .log.tmp; 2 when the arguments are\n"
    "wrong.";

/// What is not kept as it is written.
struct RawArguments {
    std::string tokenFile;
    std::uint64_t timeout = 60;
    std::uint64_t firstWait = 1000;
};

void addTexts(CLI::App& app, Arguments& arguments, RawArguments& raw) {
    UploadSettings& settings = arguments.settings;
    app.add_option("directory", arguments.directory, "The directory to upload")
        ->type_name("DIR")
        ->required();
    app.add_option("--url", settings.url, "The service, such as https://logs-01.loggly.com")
        ->type_name("URL")
        ->required();
    app.add_option("--token-file", raw.tokenFile, "A file with the token")->type_name("FILE");
    app.add_option("--tag", settings.tags, "A tag for all entries; can be given several times")
        ->type_name("TAG")
        ->allow_extra_args(false);
    app.add_option("--ca-file", settings.caFile,
                   "Certificates to trust instead of the system's, in PEM form")
        ->type_name("FILE");
}

void addNumbers(CLI::App& app, Arguments& arguments, RawArguments& raw) {
    app.add_option("--timeout", raw.timeout, "For one request, in seconds")
        ->check(CLI::Range(std::uint64_t(1), MAX_TIMEOUT))
        ->capture_default_str();
    app.add_option("--attempts", arguments.attempts, "How often a file is offered")
        ->check(CLI::Range(std::uint64_t(1), MAX_ATTEMPTS))
        ->capture_default_str();
    app.add_option("--first-wait", raw.firstWait, "After the first attempt, in milliseconds")
        ->check(CLI::Range(std::uint64_t(0), MAX_FIRST_WAIT))
        ->capture_default_str();
}

void checkDirectory(const std::filesystem::path& directory) {
    std::error_code error;
    const std::filesystem::directory_iterator readable(directory, error);
    if (error) {
        throw UsageError("Cannot read the directory " + directory.string() + ": " +
                         error.message() + ".");
    }
}

std::string tokenOfFile(const std::string& file) {
    std::ifstream stream(file);
    std::string token;
    if (!std::getline(stream, token)) {
        throw UsageError("There is no token in the file " + file + ".");
    }
    if (!token.empty() && token.back() == '\r') token.pop_back();
    return token;
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
    RawArguments raw;
    CLI::App app(DESCRIPTION, "loggly_upload");
    app.footer(FOOTER);
    addTexts(app, arguments, raw);
    addNumbers(app, arguments, raw);
    if (!CommandLine::parse(app, argc, argv)) return std::nullopt;
    checkDirectory(arguments.directory);
    UploadSettings& settings = arguments.settings;
    settings.token = raw.tokenFile.empty() ? tokenOfEnvironment() : tokenOfFile(raw.tokenFile);
    settings.totalTimeout = std::chrono::seconds(raw.timeout);
    settings.connectTimeout = (std::min)(settings.connectTimeout, settings.totalTimeout);
    arguments.firstWait = std::chrono::milliseconds(raw.firstWait);
    return arguments;
}

}  // namespace LogglyUpload
