// exit_program PIECE CASE FILE: logs 20,000 entries to FILE, through a FlushAtExit or a Logging,
// and ends in the way of the case.

#include <Korvel/Extras.h>
#include <Korvel/Korvel.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace Korvel;
using namespace Korvel::Extras;

namespace {

std::shared_ptr<Logger> logger;
std::atomic<bool> isStuck = false;

[[noreturn]] void waitForTheEnd() {
    for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

/// A sink that does not return from flush while isStuck.
struct StuckSink : Sink {
    void append(const Message&) override {}
    void flush() override {
        if (isStuck) waitForTheEnd();
    }
};

void logEntries() {
    for (int i = 0; i < 20'000; ++i) logger->log("Entry", i);
}

void throwUncaught() {
    logEntries();
    throw std::runtime_error("uncaught");
}

/// A terminate handler still sees the exception.
[[noreturn]] void leaveWithCodeOfException() {
    try {
        std::rethrow_exception(std::current_exception());
    } catch (const std::runtime_error&) {
        std::_Exit(42);
    }
}

/// Logs while static objects are destroyed.
struct LoggingStatic {
    ~LoggingStatic() { logger->log("Static", {}); }
};

void exitWithStatic() {
    static const LoggingStatic object;
    logEntries();
    std::exit(0);
}

void terminateInSecondThread() {
    std::thread(throwUncaught).detach();
    waitForTheEnd();
}

const std::map<std::string, std::function<void()>> COMMON_CASES = {
    {"return", logEntries},
    {"exit", exitWithStatic},
    {"uncaught", throwUncaught},
    {"uncaught in a thread", terminateInSecondThread},
    {"terminate",
     [] {
         logEntries();
         std::terminate();
     }},
    {"terminate handler", throwUncaught},
    {"stuck",
     [] {
         isStuck = true;
         std::exit(0);
     }},
};

#ifdef _WIN32

/// Does what the system does for a console control event, also without a console: it starts a
/// thread on this function, which calls the installed handlers.
void sendBreak() {
    logEntries();
    const auto routine = reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernelbase.dll"), "CtrlRoutine")));
    const std::uintptr_t event = CTRL_BREAK_EVENT;
    if (CreateThread(nullptr, 0, routine, reinterpret_cast<void*>(event), 0, nullptr) == nullptr) {
        std::_Exit(1);
    }
    waitForTheEnd();
}

const std::map<std::string, std::function<void()>> PLATFORM_CASES = {{"break", sendBreak}};

/// What is installed before the FlushAtExit.
void prepare(const std::string& name) {
    if (name != "break") return;
    SetConsoleCtrlHandler(
        [](DWORD event) -> BOOL { std::_Exit(event == CTRL_BREAK_EVENT ? 43 : 1); }, TRUE);
}

#else

volatile std::sig_atomic_t received = 0;

void onTerm(int, siginfo_t* info, void*) {
    received = info->si_value.sival_int;
}

/// The handler of the application ends a loop that pauses between signals, each time.
void pauseUntilHandlerHasRun() {
    sigset_t term;
    sigset_t others;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    sigprocmask(SIG_BLOCK, &term, &others);
    for (const int value : {71, 72}) {
        logEntries();
        sigval sent = {};
        sent.sival_int = value;
        sigqueue(getpid(), SIGTERM, sent);
        while (received != value) sigsuspend(&others);
    }
    std::_Exit(0);
}

void sendAndWait(int number) {
    logEntries();
    kill(getpid(), number);
    waitForTheEnd();
}

/// The first signal waits for a flush that never ends. Its handler has run when kill returns,
/// because no other thread could take it.
void sendSecondSignal() {
    isStuck = true;
    raise(SIGTERM);
    raise(SIGINT);
    waitForTheEnd();
}

/// What the parent logs after the end of its child is not lost, and its own signals still work.
void endForkedChildFirst() {
    for (const int number : {SIGTERM, SIGINT}) {
        const pid_t child = fork();
        if (child == 0) waitForTheEnd();
        kill(child, number);
        int status = 0;
        waitpid(child, &status, 0);
        if (!WIFSIGNALED(status) || WTERMSIG(status) != number) std::_Exit(1);
    }
    const pid_t child = fork();
    if (child == 0) std::exit(7);
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 7) std::_Exit(2);
    sendAndWait(SIGTERM);
}

const std::map<std::string, std::function<void()>> PLATFORM_CASES = {
    {"SIGTERM", [] { sendAndWait(SIGTERM); }},
    {"SIGINT", [] { sendAndWait(SIGINT); }},
    {"second signal", sendSecondSignal},
    {"signal handler", pauseUntilHandlerHasRun},
    {"ignored signal",
     [] {
         raise(SIGINT);
         sendAndWait(SIGTERM);
     }},
    {"fork", endForkedChildFirst},
};

/// What is installed before the FlushAtExit.
void prepare(const std::string& name) {
    alarm(60);  // Or a program that does not end would outlive its test.
    if (name == "ignored signal") std::signal(SIGINT, SIG_IGN);
    if (name == "signal handler") {
        struct sigaction action = {};
        action.sa_sigaction = onTerm;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGTERM, &action, nullptr);
    }
}

#endif

void end(const std::string& name) {
    auto found = COMMON_CASES.find(name);
    if (found == COMMON_CASES.end()) found = PLATFORM_CASES.find(name);
    found->second();
}

void useFlushAtExit(const std::string& name, const char* file, const FlushAtExitOptions& options) {
    const auto handler = std::make_shared<SinkHandler>();
    handler->installSink(FileSink::create(file, true, false, 1 << 20));
    handler->installSink(std::make_shared<StuckSink>());
    logger = handler;
    const FlushAtExit atExit(handler, options);
    // The end of another one changes nothing.
    { const FlushAtExit other(handler, options); }
    end(name);
}

void useLogging(const std::string& name, const char* file, const FlushAtExitOptions& exit) {
    LoggingOptions options;
    options.exit = exit;
    options.hasTimestamp = false;
    options.hasThread = false;
    const Logging logging =
        LoggingBuilder(options).file(file).sink("stuck", std::make_shared<StuckSink>()).start();
    logger = logging.chain();
    end(name);
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 4) return 3;
    const std::string name = arguments[2];
    if (name == "terminate handler") std::set_terminate(leaveWithCodeOfException);
    prepare(name);
    FlushAtExitOptions options;
    options.atSignals = true;
    options.limit = std::chrono::hours(1);
    if (name.find("stuck") == 0) options.limit = std::chrono::milliseconds(50);
    const bool isLogging = std::string(arguments[1]) == "Logging";
    (isLogging ? useLogging : useFlushAtExit)(name, arguments[3], options);
}
