// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

// Logs until SIGTERM, in groups: ReopeningDriver PATH
//
// Prints the number of entries after each group that the handler has flushed.

#include <Korvel/Extras/ReopeningFileSink.h>
#include <Korvel/Korvel.h>

#include <csignal>
#include <iostream>

namespace {

Korvel::Extras::ReopeningFileSink* logFile = nullptr;
volatile std::sig_atomic_t isEnding = 0;

}  // namespace

int main(int, char** arguments) {
    constexpr int GROUP = 20;
    const auto sink = std::make_shared<Korvel::Extras::ReopeningFileSink>(arguments[1]);
    logFile = sink.get();
    std::signal(SIGHUP, [](int) { logFile->reopen(); });
    std::signal(SIGTERM, [](int) { isEnding = 1; });
    Korvel::SinkHandler handler;
    handler.installSink(sink);
    for (int number = 0; isEnding == 0;) {
        for (int i = 0; i < GROUP; ++i) handler.log(L"Load", {{"number", number++}});
        handler.flush();
        std::cout << number << std::endl;
    }
}
