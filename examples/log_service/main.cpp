// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

// log_service [FILE]: a service that is easy to operate. It logs to FILE, or to standard output for
// containers and systemd. SIGHUP makes it reopen FILE, and SIGTERM and SIGINT end it. It survives a
// closed pipe. Once a second it logs the state of its log.

#include <Korvel/Extras.h>

#include <csignal>
#include <ctime>
#include <exception>
#include <iostream>
#include <memory>

using namespace Korvel::Extras;

namespace {

/// Standard output can be a socket, for example under systemd, which cannot be opened by name.
class OutputLines : public Korvel::Sink {
public:
    void append(const Korvel::Message& entry) override {
        std::cout << entry.toJson(false, "") << std::endl;
    }
    void flush() override {}
};

/// The number of the signal, or -1 after a second without one.
int waitForSignal(const sigset_t& signals) {
    const timespec second{1, 0};
    return sigtimedwait(&signals, nullptr, &second);
}

}  // namespace

int main(int count, char** arguments) try {
    // Before the first thread, because threads inherit the blocked signals.
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGHUP, SIGTERM, SIGINT}) sigaddset(&signals, number);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    LoggingBuilder builder;
    std::shared_ptr<ReopeningFileSink> file;
    if (count > 1) {
        file = std::make_shared<ReopeningFileSink>(arguments[1]);
        builder.sink("file", file);
    } else {
        builder.sink("output", std::make_shared<OutputLines>());
    }
    const auto logging = builder.start();
    const SeverityLogger& log = logging.logger();
    log.info("ServiceStarted");
    for (;;) {
        const int signal = waitForSignal(signals);
        if (signal == SIGTERM || signal == SIGINT) {
            log.info("ServiceStopped", {{"signal", signal}});
            return 0;
        }
        if (signal == SIGHUP && file) file->reopen();
        log.info("LogState", toMessage(logging.snapshot()));
    }
} catch (const std::exception& error) {
    std::cerr << "log_service: " << error.what() << '\n';
    return 1;
}
