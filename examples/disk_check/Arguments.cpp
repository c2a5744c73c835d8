#include "Arguments.h"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <thread>

namespace DiskCheck {
namespace {

constexpr std::uint64_t MOST_THREADS = 256;

using Words = std::vector<std::string>;

bool isOption(const std::string& word) {
    return word.size() > 1 && word.front() == '-';
}

/// Advances `word` from an option to its value.
const std::string& valueOf(Words::const_iterator& word, Words::const_iterator end) {
    const std::string& option = *word;
    ++word;
    if (word == end || word->empty() || word->compare(0, 2, "--") == 0) {
        throw UsageError("The option " + option + " needs a value.");
    }
    return *word;
}

std::uint64_t toNumber(const std::string& option, const std::string& value) {
    std::uint64_t number = 0;
    const char* const end = value.data() + value.size();
    const auto result = std::from_chars(value.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) {
        throw UsageError("The option " + option + " needs a whole number, not \"" + value + "\".");
    }
    return number;
}

std::uint64_t toThreads(const std::string& value) {
    const std::uint64_t threads = toNumber("--threads", value);
    if (threads == 0 || threads > MOST_THREADS) {
        throw UsageError("The number of threads must be from 1 to " + std::to_string(MOST_THREADS) +
                         ".");
    }
    return threads;
}

void takeDirectory(Arguments& arguments, const std::string& word) {
    if (!arguments.directory.empty()) throw UsageError("Only one directory can be checked.");
    arguments.directory = word;
    std::error_code error;
    if (std::filesystem::is_directory(arguments.directory, error)) return;
    const std::string reason = error ? error.message() : "not a directory";
    throw UsageError("Cannot check \"" + word + "\": " + reason + ".");
}

void takeOption(Arguments& arguments, Words::const_iterator& word, Words::const_iterator end) {
    if (*word == "--threads") {
        arguments.threads = toThreads(valueOf(word, end));
    } else if (*word == "--out") {
        arguments.out = valueOf(word, end);
    } else if (*word == "--limit") {
        arguments.limit = toNumber("--limit", valueOf(word, end));
    } else if (*word == "--stage") {
        arguments.stage = valueOf(word, end);
    } else if (*word == "--upload") {
        arguments.uploadUrl = valueOf(word, end);
    } else {
        throw UsageError("There is no option " + *word + ".");
    }
}

}  // namespace

const char* const USAGE_LINE =
    "Usage: disk_check DIRECTORY [--threads N] [--out DIR] [--limit N]\n"
    "           [--stage DIR [--upload URL]]\n";

const char* const HELP_TEXT =
    "\n"
    "Walks a directory tree and logs every file in it to disk_check.jsonl, one JSON text\n"
    "a line. Problems and the summary are shown here as well. Links are not followed.\n"
    "\n"
    "  --threads N  walk with N threads (default: as many as the machine runs at once)\n"
    "  --out DIR    where disk_check.jsonl goes; made if missing (default: here)\n"
    "  --limit N    stop after N files, directories and links\n"
    "  --stage DIR  keep the entries in staging files in DIR too, which is made if missing, and\n"
    "               deliver them at the end, into the directory \"delivered\" beside DIR\n"
    "  --upload URL deliver them to the log service at URL instead; the token is taken from the\n"
    "               variable LOGGLY_TOKEN\n"
    "  --help       show this text\n"
    "\n"
    "Exit status: 0 when the walk has been logged, problems among the files included;\n"
    "1 when the log could not be written or delivered; 2 when the arguments are wrong.\n";

Arguments parseArguments(const Words& words) {
    Arguments arguments;
    arguments.wantsHelp = std::find(words.begin(), words.end(), "--help") != words.end();
    if (arguments.wantsHelp) return arguments;
    arguments.threads =
        std::clamp<std::uint64_t>(std::thread::hardware_concurrency(), 1, MOST_THREADS);
    for (auto word = words.begin(); word != words.end(); ++word) {
        if (isOption(*word)) {
            takeOption(arguments, word, words.end());
        } else {
            takeDirectory(arguments, *word);
        }
    }
    if (arguments.directory.empty()) throw UsageError("The directory to check is missing.");
    if (!arguments.uploadUrl.empty() && arguments.stage.empty()) {
        throw UsageError("The option --upload needs --stage.");
    }
    return arguments;
}

}  // namespace DiskCheck
