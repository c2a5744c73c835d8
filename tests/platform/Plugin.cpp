// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Korvel.h>

#include <sys/wait.h>
#include <unistd.h>

#include <sstream>

/// Returns how many characters a new handler has written.
static int logOneEntry() {
    std::ostringstream stream;
    Korvel::SinkHandler handler;
    handler.installSink(std::make_shared<Korvel::ConsoleSink>(stream));
    handler.log("T", 1.5);
    handler.stopProcessing();
    return static_cast<int>(stream.str().size());
}

/// Logs before and after two children, one that logs too and one that becomes another program.
/// Returns how many characters it has logged.
extern "C" int logAroundFork() {
    std::ostringstream stream;
    const auto handler = std::make_shared<Korvel::SinkHandler>();
    handler->installSink(std::make_shared<Korvel::ConsoleSink>(stream));
    const auto logger = Korvel::createThreadIdExtender(handler, L"thread");
    for (const bool becomesAnother : {false, true}) {
        logger->log("T", 1.5);
        const pid_t child = fork();
        if (child == 0 && becomesAnother) execl("/bin/true", "true", nullptr);
        if (child == 0) _exit(logOneEntry() > 20 ? 0 : 1);
        int status = -1;
        if (waitpid(child, &status, 0) != child || status != 0) return -1;
    }
    handler->stopProcessing();
    return static_cast<int>(stream.str().size());
}
