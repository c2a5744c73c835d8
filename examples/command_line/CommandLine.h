// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>

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

}  // namespace CommandLine
