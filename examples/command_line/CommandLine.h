// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>

namespace CLI {
class App;
}

namespace CommandLine {

/// Thrown for a command line that cannot be carried out; what() says why, in a sentence for the
/// user.
class UsageError : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

/// Reads the arguments into what the options of `app` are bound to. If they ask for help, prints it
/// and returns false. Throws UsageError, whose text names an unexpected argument without a value,
/// because that could be a secret.
bool parse(CLI::App& app, int argc, const char* const* argv);

}  // namespace CommandLine
