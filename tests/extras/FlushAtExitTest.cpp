#include "support/Test.h"

#include <Korvel/Extras/FlushAtExit.h>

#include <csignal>
#include <cstdlib>

#ifdef _WIN32
#include <process.h>
#else
#include <sys/wait.h>
#endif

using namespace Korvel::Extras;

namespace {

/// Runs exit_program and returns its exit code, or minus the signal that ended it.
int runProgram(const std::string& name, const std::filesystem::path& file,
               [[maybe_unused]] const std::string& launcher = "") {
#ifdef _WIN32
    const std::string quoted = '"' + name + '"';
    return static_cast<int>(_spawnl(_P_WAIT, EXIT_PROGRAM, EXIT_PROGRAM, quoted.c_str(),
                                    file.string().c_str(), nullptr));
#else
    const std::string command = "exec " + launcher + " \"" EXIT_PROGRAM "\" '" + name + "' '" +
                                file.string() + "' 2>/dev/null";
    const int status = std::system(command.c_str());
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
#endif
}

/// The lines of 20,000 entries and what follows them.
std::string lines(const std::string& others = "") {
    std::string text;
    for (int i = 0; i < 20'000; ++i) {
        text += "{\"message\":\"Entry\",\"messageData\":" + std::to_string(i) + "}\n";
    }
    return text + others;
}

struct Case {
    std::string name;
    int end;
    std::string file;
};

void expectEnds(const std::vector<Case>& cases) {
    for (const auto& [name, end, file] : cases) {
        const TemporaryDirectory directory;
        EXPECT_EQ(runProgram(name, directory.path / "log"), end) << name;
        // Not EXPECT_EQ, which would print megabytes.
        EXPECT_TRUE(readFile(directory.path / "log") == file) << name;
    }
}

#ifdef _WIN32
constexpr int ABORTED = 3;
#else
constexpr int ABORTED = -SIGABRT;
#endif

}  // namespace

TEST(FlushAtExit, AllEntriesAreInTheFileAfterExitAndTerminate) {
    expectEnds({
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
    expectEnds({{"stuck", 0, ""}});
}

#ifdef _WIN32

TEST(FlushAtExit, AllEntriesAreInTheFileBeforeTheNextHandlerOfAControlEvent) {
    expectEnds({{"break", 43, lines()}});
}

#else

TEST(FlushAtExit, AllEntriesAreInTheFileAfterASignalThatStillTakesItsCourse) {
    expectEnds({
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
    EXPECT_EQ(runProgram("SIGTERM", directory.path / "log", "unshare --pid --fork"), 128 + SIGTERM);
    EXPECT_TRUE(readFile(directory.path / "log") == lines());
}

TEST(FlushAtExit, SecondSignalDoesNotWaitForTheFlushOfTheFirst) {
    expectEnds({{"second signal", -SIGINT, ""}});
}

TEST(FlushAtExit, ForkedChildEndsByItselfAndLeavesTheParentAlone) {
    expectEnds({{"fork", -SIGTERM, lines()}});
}

#endif
