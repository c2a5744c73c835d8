// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "command_line/CommandLine.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

namespace CommandLine {
namespace {

constexpr int STATUS_SUCCESS = 0;
constexpr int STATUS_FAILURE = 1;
constexpr int STATUS_WRONG_ARGUMENTS = 2;

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

int runProgram(const std::string& name, const std::function<bool()>& program) {
    try {
        return program() ? STATUS_SUCCESS : STATUS_FAILURE;
    } catch (const std::invalid_argument& error) {
        std::cerr << name << ": " << error.what() << "\nSee " << name << " --help.\n";
        return STATUS_WRONG_ARGUMENTS;
    } catch (const std::exception& error) {
        std::cerr << name << ": " << error.what() << '\n';
        return STATUS_FAILURE;
    }
}

}  // namespace CommandLine
