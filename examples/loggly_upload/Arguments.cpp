#include "Arguments.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace LogglyUpload {
namespace {

constexpr const char* TOKEN_VARIABLE = "LOGGLY_TOKEN";

constexpr std::uint64_t MOST_SECONDS = 3600;
constexpr std::uint64_t MOST_ATTEMPTS = 1000;
constexpr std::uint64_t LONGEST_FIRST_WAIT = 60'000;

using Words = std::vector<std::string>;

[[noreturn]] void complain(const std::string& sentence) {
    throw std::invalid_argument(sentence);
}

/// Advances `word` from an option to its value.
const std::string& valueOf(Words::const_iterator& word, Words::const_iterator end) {
    const std::string& option = *word;
    ++word;
    if (word == end || word->empty() || word->compare(0, 2, "--") == 0) {
        complain("The option " + option + " needs a value.");
    }
    return *word;
}

std::uint64_t numberOf(Words::const_iterator& word, Words::const_iterator end, std::uint64_t least,
                       std::uint64_t most) {
    const std::string option = *word;
    const std::string& value = valueOf(word, end);
    std::uint64_t number = 0;
    const char* const last = value.data() + value.size();
    const auto result = std::from_chars(value.data(), last, number);
    if (result.ec != std::errc() || result.ptr != last || number < least || number > most) {
        complain("The option " + option + " needs a whole number from " + std::to_string(least) +
                 " to " + std::to_string(most) + ".");
    }
    return number;
}

std::string readToken(const std::string& file) {
    std::ifstream stream(file);
    std::string token;
    if (!std::getline(stream, token)) complain("There is no token in the file " + file + ".");
    if (!token.empty() && token.back() == '\r') token.pop_back();
    return token;
}

void takeOption(Arguments& arguments, Words::const_iterator& word, Words::const_iterator end) {
    UploadSettings& settings = arguments.settings;
    if (*word == "--url") {
        settings.url = valueOf(word, end);
    } else if (*word == "--token-file") {
        settings.token = readToken(valueOf(word, end));
    } else if (*word == "--tag") {
        settings.tags.push_back(valueOf(word, end));
    } else if (*word == "--ca-file") {
        settings.caFile = valueOf(word, end);
    } else if (*word == "--timeout") {
        settings.totalTimeout = std::chrono::seconds(numberOf(word, end, 1, MOST_SECONDS));
    } else if (*word == "--attempts") {
        arguments.attempts = numberOf(word, end, 1, MOST_ATTEMPTS);
    } else if (*word == "--first-wait") {
        arguments.firstWait = std::chrono::milliseconds(numberOf(word, end, 0, LONGEST_FIRST_WAIT));
    } else {
        // Omits a value joined to the option, which could be a token.
        complain("There is no option " + word->substr(0, word->find('=')) + ".");
    }
}

void takeDirectory(Arguments& arguments, const std::string& word) {
    if (!arguments.directory.empty()) complain("Only one directory can be uploaded.");
    arguments.directory = word;
    std::error_code error;
    const std::filesystem::directory_iterator readable(arguments.directory, error);
    if (error) complain("Cannot read the directory " + word + ": " + error.message() + ".");
}

void completeToken(UploadSettings& settings) {
    if (!settings.token.empty()) return;
    const char* const value = std::getenv(TOKEN_VARIABLE);
    if (value == nullptr || *value == '\0') {
        complain(std::string("The token is missing: use --token-file or set ") + TOKEN_VARIABLE +
                 ".");
    }
    settings.token = value;
}

}  // namespace

const char* const USAGE_LINE =
    "Usage: loggly_upload DIRECTORY --url URL [--token-file FILE] [--tag TAG]...\n"
    "           [--ca-file FILE] [--timeout SECONDS] [--attempts N]\n"
    "           [--first-wait MILLISECONDS]\n";

const char* const HELP_TEXT =
    "\n"
    "Sends the staging files (*.log) of DIRECTORY to a log service and deletes each one that\n"
    "the service has taken. No other process may use the directory meanwhile.\n"
    "\n"
    "  --url URL          the service, such as https://logs-01.loggly.com\n"
    "  --token-file FILE  a file with the token (default: the variable LOGGLY_TOKEN)\n"
    "  --tag TAG          a tag for all entries; can be given several times\n"
    "  --ca-file FILE     certificates to trust instead of the system's, in PEM form\n"
    "  --timeout SECONDS  for one request, from 1 to 3600 (default: 60)\n"
    "  --attempts N       how often a file is offered, from 1 to 1000 (default: 8)\n"
    "  --first-wait MILLISECONDS\n"
    "                     the wait behind the first attempt, from 0 to 60000 (default: 1000);\n"
    "                     it doubles each time up to a minute, and varies by up to a half\n"
    "  --help             show this text\n"
    "\n"
    "Exit status: 0 when everything is delivered or nothing was ready; 1 when files are left,\n"
    "or were rejected and moved to DIRECTORY/rejected; 2 when the arguments are wrong.\n";

Arguments parseArguments(const Words& words) {
    Arguments arguments;
    arguments.wantsHelp = std::find(words.begin(), words.end(), "--help") != words.end();
    if (arguments.wantsHelp) return arguments;
    arguments.settings.url.clear();
    for (auto word = words.begin(); word != words.end(); ++word) {
        if (word->rfind('-', 0) == 0) {
            takeOption(arguments, word, words.end());
        } else {
            takeDirectory(arguments, *word);
        }
    }
    if (arguments.directory.empty()) complain("The directory to upload is missing.");
    if (arguments.settings.url.empty()) complain("The option --url is missing.");
    completeToken(arguments.settings);
    arguments.settings.connectTimeout =
        std::min(arguments.settings.connectTimeout, arguments.settings.totalTimeout);
    return arguments;
}

}  // namespace LogglyUpload
