// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/FlushAtExit.h>

#include <atomic>
#include <csignal>

using namespace Korvel::Extras;

TEST(FlushAtExit, LastObjectPutsBackWhatWasInstalledBefore) {
    const std::terminate_handler terminateHandler = std::get_terminate();
    void (*const own)(int) = [](int) {};
    const auto previous = std::signal(SIGINT, own);
    const auto handler = std::make_shared<SinkHandler>();
    FlushAtExitOptions options;
    options.atSignals = true;
    auto first = std::make_unique<FlushAtExit>(handler, options);
    const std::terminate_handler installed = std::get_terminate();
    auto second = std::make_unique<FlushAtExit>(handler, options);
    first.reset();
    EXPECT_NE(installed, terminateHandler);
    EXPECT_EQ(std::get_terminate(), installed);
    second.reset();
    EXPECT_EQ(std::get_terminate(), terminateHandler);
    EXPECT_EQ(std::signal(SIGINT, previous), own);
}

#ifndef _WIN32
TEST(FlushAtExit, DestructorLeavesAStuckFlushBehind) {
    static std::atomic<bool> isHandled;
    isHandled = false;
    const auto previous = std::signal(SIGTERM, [](int) { isHandled = true; });
    const auto released = std::make_shared<Gate>();
    const auto handler = std::make_shared<SinkHandler>();
    handler->installSink(
        std::make_shared<LambdaSink>([](const Message&) {}, [released] { released->wait(); }));
    {
        FlushAtExitOptions options;
        options.atSignals = true;
        options.limit = std::chrono::milliseconds(20);
        const FlushAtExit atExit(handler, options);
        raise(SIGTERM);
        while (!isHandled) std::this_thread::yield();
    }
    std::signal(SIGTERM, previous);
    released->open();
}
#endif
