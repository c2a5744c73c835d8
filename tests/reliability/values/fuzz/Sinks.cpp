// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

// Trees of any values through the sinks of Extras. Trees.h says what a reader must find.

#include "support/Trees.h"

#include <Korvel/Extras.h>

#include <sys/mman.h>
#include <unistd.h>
#include <sstream>

using namespace Korvel::Extras;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const int memory = memfd_create("log", 0);
    static const std::string name = "/proc/self/fd/" + std::to_string(memory);
    static WellFormedSink wellFormed(Korvel::FileSink::create(name, true, false, UINT64_MAX));
    static std::ostringstream console;
    static LineConsoleSink lines(console);
    static GuardedSinkOptions options;
    options.reporter = [](const GuardedSinkFailure&) {};
    static GuardedSink reopening(std::make_shared<ReopeningFileSink>("/dev/null"), options);
    static Trees trees;
    trees.isHostile = true;
    trees.next = [data, size, used = std::size_t{0}](std::uint64_t below) mutable {
        std::uint64_t number = 0;
        for (int i = 0; i < (below > 256 ? 8 : 1); ++i) {
            number = number << 8 | (used < size ? data[used++] : 0);
        }
        return number % below;
    };
    const auto [message, json] = trees.container(true);
    wellFormed.append(message);
    char line[0x4000];
    const auto length = pread(memory, line, sizeof line, 0);
    if (length < 0 || nlohmann::json::parse(line, line + length) != json) __builtin_trap();
    if (ftruncate(memory, 0) != 0) __builtin_trap();
    lines.append(message);
    const std::string shown = console.str();
    console.str("");
    if (shown.find('\n') != shown.size() - 1) __builtin_trap();
    reopening.append(message);
    return 0;
}
