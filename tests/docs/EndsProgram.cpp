// ends_program WAY END PATH: logs 50 entries and flushes, logs 300 more, and ends while a slow sink
// holds most of them up.

#include <Korvel/Extras.h>
#include <Korvel/Korvel.h>

#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>

using namespace Korvel;
using namespace Korvel::Extras;

namespace {

struct SlowSink : Sink {
    void flush() override {}
    void append(const Message&) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
};

int logged = 0;
std::atomic<int> skippedSeconds = 0;

void logEntries(Logger& logger, int count) {
    for (int i = 0; i < count; ++i) logger.log("Entry", ++logged);
}

/// A file can take no more bytes, and later it can again.
void fillDisk(Logger& logger) {
    logger.flush();
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit full{10, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &full);
    logEntries(logger, 50);
    logger.flush();
    const rlimit free{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &free);
    skippedSeconds = 60;
    logEntries(logger, 50);
}

void sendAndWait(int number) {
    kill(getpid(), number);
    for (;;) pause();
}

void end(const std::string& name, Logger& logger) {
    const std::map<std::string, std::function<void()>> ends = {
        {"return", [] {}},
        {"exit", [] { std::exit(0); }},
        {"exception", [] { throw std::runtime_error("uncaught"); }},
        {"thread", [] { std::thread([] { throw std::runtime_error("uncaught"); }).join(); }},
        {"abort", [] { std::abort(); }},
        {"_exit", [] { _exit(0); }},
        {"quick_exit", [] { std::quick_exit(0); }},
        {"disk", [&] { fillDisk(logger); }},
    };
    const auto found = ends.find(name);
    if (found != ends.end()) return found->second();
    sendAndWait(std::stoi(name));
}

void run(const std::string& name, Logger& logger) {
    logEntries(logger, 50);
    logger.flush();
    logEntries(logger, 300);
    end(name, logger);
}

void useCore(const std::string& name, std::shared_ptr<Sink> sink) {
    SinkHandler handler;
    handler.installSink(std::make_shared<SlowSink>());
    handler.installSink(std::move(sink));
    run(name, handler);
}

void useLogging(const std::string& name, const std::string& path, bool atSignals) {
    LoggingOptions options;
    options.exit.atSignals = atSignals;
    options.exit.limit = std::chrono::minutes(1);
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
    alarm(60);  // A program that hangs ends.
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    const std::string way = arguments[1];
    const std::string name = arguments[2];
    const std::string path = arguments[3];
    if (way == "FileSink") {
        useCore(name, FileSink::create(path + "/log", false, false, UINT64_MAX));
    } else if (way == "LogglySink") {
        useCore(name, std::make_shared<LogglySink>(path));
    } else {
        useLogging(name, path, way == "atSignals");
    }
}
