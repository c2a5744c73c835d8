// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/Modes.h"
#include "pipeline/Subject.h"

#include <exception>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

const std::map<std::string, void (*)(const Bench::Arguments&)> MODES = {
    {"flush", Bench::measureFlush},   {"heap", Bench::measureHeap},
    {"render", Bench::workRendering}, {"rotate", Bench::measureRotation},
    {"run", Bench::runPipeline},      {"show", Bench::showLine},
    {"work", Bench::workPipeline},
};

void run(const std::vector<std::string>& words) {
    const Bench::Arguments arguments = Bench::parseArguments(words);
    const auto mode = MODES.find(arguments.mode);
    if (mode == MODES.end()) throw std::invalid_argument("There is no mode " + arguments.mode);
    mode->second(arguments);
}

}  // namespace

int main(int count, char** words) {
    try {
        run({words + 1, words + count});
        return 0;
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what()
                  << "\nUsage: pipeline run|work|show|heap SUBJECT [OPTION VALUE]...\n"
                  << "       pipeline flush|rotate korvel [OPTION VALUE]...\n"
                  << "       pipeline render korvel|nlohmann|rapidjson [OPTION VALUE]...\n"
                  << "Options: --producers --entries --gap-us --directory\n"
                  << "Subjects: " << Bench::subjectNames() << '\n';
        return 2;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
