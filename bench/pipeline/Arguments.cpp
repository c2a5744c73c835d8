// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/Arguments.h"

#include <charconv>
#include <stdexcept>
#include <system_error>

namespace Bench {
namespace {

unsigned toNumber(const std::string& word) {
    unsigned number = 0;
    const char* const end = word.data() + word.size();
    const auto result = std::from_chars(word.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) {
        throw std::invalid_argument(word + " is not a whole number.");
    }
    return number;
}

void takeOption(Arguments& arguments, const std::string& name, const std::string& value) {
    if (name == "--producers") {
        arguments.producers = toNumber(value);
    } else if (name == "--entries") {
        arguments.entries = toNumber(value);
    } else if (name == "--gap-us") {
        arguments.gap = std::chrono::microseconds(toNumber(value));
    } else if (name == "--directory") {
        arguments.directory = value;
    } else {
        throw std::invalid_argument("There is no option " + name + ".");
    }
}

}  // namespace

Arguments parseArguments(const std::vector<std::string>& words) {
    if (words.size() < 2 || words.size() % 2 != 0) {
        throw std::invalid_argument("Two words and options with a value are due.");
    }
    Arguments arguments;
    arguments.directory = std::filesystem::temp_directory_path();
    arguments.mode = words[0];
    arguments.subject = words[1];
    for (std::size_t i = 2; i < words.size(); i += 2) takeOption(arguments, words[i], words[i + 1]);
    if (arguments.producers == 0 || arguments.entries < arguments.producers) {
        throw std::invalid_argument("Every producer needs an entry.");
    }
    return arguments;
}

}  // namespace Bench
