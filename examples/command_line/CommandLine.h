// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace CommandLine {

/// Thrown for a wrong command line; what() says what is wrong, in a sentence for the user.
class UsageError : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

/// Reads the arguments into the variables of the options of `app`. If they ask for help, prints it
/// and returns false. Throws UsageError, whose text never shows the value of an unexpected
/// argument, because it could be a secret.
bool parse(CLI::App& app, int argc, const char* const* argv);

/// Runs `program` and returns the exit status: 0 if it returns true, 1 if it returns false or
/// throws, and 2 for a `std::invalid_argument`, such as a UsageError. Reports what it throws to the
/// user; `name` is the name of the program.
int runProgram(const std::string& name, const std::function<bool()>& program);

}  // namespace CommandLine
