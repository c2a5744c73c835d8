// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

// ends_program WAY END PATH: logs 50 entries and flushes, logs 300 more, and ends while a slow sink
// holds most of them up.

#include <Korvel/Extras.h>
#include <Korvel/Korvel.h>

#include <csignal>
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
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace Korvel;
using namespace Korvel::Extras;

namespace {

Logger* logger = nullptr;
int logged = 0;
std::atomic<int> skippedSeconds = 0;
std::atomic<bool> isStuck = false;

[[noreturn]] void waitForTheEnd() {
    for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

struct SlowSink : Sink {
    void append(const Message&) override {
        if (isStuck) waitForTheEnd();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    void flush() override {}
};

void logEntries(int count) {
    for (int i = 0; i < count; ++i) logger->log("Entry", ++logged);
}

/// Logs while static objects are destroyed.
struct LoggingStatic {
    ~LoggingStatic() { logEntries(1); }
};

void exitWithStatic() {
    static const LoggingStatic object;
    std::exit(0);
}

[[noreturn]] void throwUncaught() {
    throw std::runtime_error("uncaught");
}

/// A terminate handler still sees the exception.
[[noreturn]] void leaveWithCodeOfException() try {
    std::rethrow_exception(std::current_exception());
} catch (const std::runtime_error&) {
    std::_Exit(42);
}

using Ends = std::map<std::string, std::function<void()>>;

#ifdef _WIN32

/// Does what the system does for a console control event, also without a console: it starts a
/// thread on this function, which calls the installed handlers.
void sendBreak() {
    const auto routine = reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernelbase.dll"), "CtrlRoutine")));
    const std::uintptr_t event = CTRL_BREAK_EVENT;
    if (CreateThread(nullptr, 0, routine, reinterpret_cast<void*>(event), 0, nullptr) == nullptr) {
        std::_Exit(1);
    }
    waitForTheEnd();
}

const Ends PLATFORM_ENDS = {{"break", sendBreak}};

/// What is installed before the library's handlers.
void prepare(const std::string& name) {
    if (name != "break") return;
    SetConsoleCtrlHandler(
        [](DWORD event) -> BOOL { std::_Exit(event == CTRL_BREAK_EVENT ? 43 : 1); }, TRUE);
}

#else

volatile std::sig_atomic_t received = 0;

/// The handler of the application ends a loop that pauses between signals, each time.
void pauseUntilHandlerHasRun() {
    sigset_t term;
    sigset_t others;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    sigprocmask(SIG_BLOCK, &term, &others);
    for (const int value : {71, 72}) {
        logEntries(1);
        sigval sent = {};
        sent.sival_int = value;
        sigqueue(getpid(), SIGTERM, sent);
        while (received != value) sigsuspend(&others);
    }
    _exit(0);
}

/// The first signal waits for a flush that never ends. Its handler has run when raise returns.
void sendSecondSignal() {
    raise(SIGTERM);
    raise(SIGINT);
    waitForTheEnd();
}

/// Returns how the child has ended, without the core that it may have left.
int waitForChild(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

/// The parent still logs after the ends of its children.
void endForkedChildrenFirst() {
    for (const int number : {SIGTERM, SIGINT}) {
        const pid_t child = fork();
        if (child == 0) waitForTheEnd();
        kill(child, number);
        if (waitForChild(child) != -number) _exit(1);
    }
    const pid_t child = fork();
    if (child == 0) std::exit(7);
    if (waitForChild(child) != 7) _exit(2);
    kill(getpid(), SIGTERM);
    waitForTheEnd();
}

/// A file can take no more bytes, and later it can again.
void fillDisk() {
    logger->flush();
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit full{10, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &full);
    logEntries(50);
    logger->flush();
    const rlimit free{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &free);
    skippedSeconds = 60;
    logEntries(50);
}

const Ends PLATFORM_ENDS = {
    {"_exit", [] { _exit(0); }},
    {"quick_exit", [] { std::quick_exit(0); }},
    {"disk", fillDisk},
    {"handler", pauseUntilHandlerHasRun},
    {"second", sendSecondSignal},
    {"fork", endForkedChildrenFirst},
    {"ignored", [] { raise(SIGINT); }},
};

/// What is installed before the library's handlers.
void prepare(const std::string& name) {
    alarm(60);  // A program that hangs ends.
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    if (name == "ignored") std::signal(SIGINT, SIG_IGN);
    if (name != "handler") return;
    struct sigaction action = {};
    action.sa_sigaction = [](int, siginfo_t* info, void*) { received = info->si_value.sival_int; };
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGTERM, &action, nullptr);
}

#endif

const Ends COMMON_ENDS = {
    {"return", [] {}},
    {"exit", exitWithStatic},
    {"exception", throwUncaught},
    {"thread", [] { std::thread(throwUncaught).join(); }},
    {"terminate", [] { std::terminate(); }},
    {"terminate_handler", throwUncaught},
    {"stuck", [] { std::exit(0); }},
    {"abort", [] { std::abort(); }},
};

void run(const std::string& name, Logger& used) {
    logger = &used;
    logEntries(50);
    logger->flush();
    isStuck = name == "stuck" || name == "second";
    logEntries(300);
    for (const Ends* ends : {&COMMON_ENDS, &PLATFORM_ENDS}) {
        const auto found = ends->find(name);
        if (found != ends->end()) return found->second();
    }
    std::raise(std::stoi(name));
    waitForTheEnd();
}

void useCore(const std::string& name, std::shared_ptr<Sink> sink, FlushAtExitOptions* exit) {
    const auto handler = std::make_shared<SinkHandler>();
    handler->installSink(std::make_shared<SlowSink>());
    handler->installSink(std::move(sink));
    std::unique_ptr<FlushAtExit> atExit;
    if (exit != nullptr) {
        atExit = std::make_unique<FlushAtExit>(handler, *exit);
        // The end of another one changes nothing.
        const FlushAtExit other(handler, *exit);
    }
    run(name, *handler);
}

void useLogging(const std::string& name, const std::string& path, const FlushAtExitOptions& exit) {
    LoggingOptions options;
    options.exit = exit;
    ReopeningFileSinkOptions file;
    file.clock = [] {
        return std::chrono::steady_clock::now() + std::chrono::seconds(skippedSeconds);
    };
    const auto logging = LoggingBuilder(options)
                             .sink("slow", std::make_shared<SlowSink>())
                             .file(path + "/log", file)
                             .start();
    run(name, *logging.chain());
}

}  // namespace

int main(int, char** arguments) {
    const std::string way = arguments[1];
    const std::string name = arguments[2];
    const std::string path = arguments[3];
    if (name == "terminate_handler") std::set_terminate(leaveWithCodeOfException);
    prepare(name);
    FlushAtExitOptions exit;
    exit.limit = name == "stuck" ? std::chrono::milliseconds(50) : std::chrono::hours(1);
    exit.atSignals = way != "Logging";
    if (way == "LogglySink") {
        useCore(name, std::make_shared<LogglySink>(path), nullptr);
    } else if (way == "FileSink" || way == "FlushAtExit") {
        useCore(name, FileSink::create(path + "/log", false, false, UINT64_MAX),
                way == "FileSink" ? nullptr : &exit);
    } else {
        useLogging(name, path, exit);
    }
}
