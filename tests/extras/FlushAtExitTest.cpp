#include "extras/ExitCases.h"

#include <Korvel/Extras/FlushAtExit.h>

#include <atomic>

using namespace Korvel::Extras;

TEST(FlushAtExit, AllEntriesAreInTheFileAfterExitAndTerminate) {
    expectEnds("FlushAtExit", {
                                  {"exit", 0, lines("{\"message\":\"Static\"}\n")},
                                  {"uncaught", ABORTED, lines()},
                                  {"uncaught in a thread", ABORTED, lines()},
                                  {"terminate", ABORTED, lines()},
                                  {"terminate handler", 42, lines()},
                              });
}

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

TEST(FlushAtExit, SinkThatNeverReturnsDelaysTheEndOnlyByTheLimit) {
    expectEnds("FlushAtExit", {{"stuck", 0, ""}});
}

#ifdef _WIN32

TEST(FlushAtExit, AllEntriesAreInTheFileBeforeTheNextHandlerOfAControlEvent) {
    expectEnds("FlushAtExit", {{"break", 43, lines()}});
}

#else

TEST(FlushAtExit, AllEntriesAreInTheFileAfterASignalThatStillTakesItsCourse) {
    expectEnds("FlushAtExit", {
                                  {"SIGTERM", -SIGTERM, lines()},
                                  {"SIGINT", -SIGINT, lines()},
                                  {"signal handler", 0, lines(lines())},
                                  {"ignored signal", -SIGTERM, lines()},
                              });
}

TEST(FlushAtExit, FirstProcessOfAContainerEndsThoughTheSystemIgnoresItsSignal) {
    if (std::system("unshare --pid --fork true 2>/dev/null") != 0) {
        GTEST_SKIP() << "This user may not make a container";
    }
    const TemporaryDirectory directory;
    EXPECT_EQ(runProgram("FlushAtExit", "SIGTERM", directory.path / "log", "unshare --pid --fork"),
              128 + SIGTERM);
    EXPECT_TRUE(readFile(directory.path / "log") == lines());
}

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

TEST(FlushAtExit, SecondSignalDoesNotWaitForTheFlushOfTheFirst) {
    expectEnds("FlushAtExit", {{"second signal", -SIGINT, ""}});
}

TEST(FlushAtExit, ForkedChildEndsByItselfAndLeavesTheParentAlone) {
#ifdef KORVEL_NO_FORK
    GTEST_SKIP()
        << "ThreadSanitizer runs no signal handlers in the child of a program with threads";
#endif
    for (const char* piece : {"FlushAtExit", "Logging"}) {
        expectEnds(piece, {{"fork", -SIGTERM, lines()}});
    }
}

#endif
