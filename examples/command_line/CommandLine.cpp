// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "command_line/CommandLine.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <string>

namespace CommandLine {
namespace {

std::string unexpectedText(const std::string& argument) {
    if (argument.rfind('-', 0) != 0) return "There are too many arguments.";
    return "There is no option " + argument.substr(0, argument.find('=')) + '.';
}

}  // namespace

bool parse(CLI::App& app, int argc, const char* const* argv) {
    try {
        app.parse(argc, argv);
        return true;
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return false;
    } catch (const CLI::ExtrasError&) {
        throw UsageError(unexpectedText(app.remaining().front()));
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
}

}  // namespace CommandLine
