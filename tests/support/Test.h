#pragma once

#include <Korvel/Korvel.h>

#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <random>
#include <stdexcept>
#include <thread>

using namespace Korvel;
using Entries = std::vector<std::string>;

/// Keeps what it gets, as compact JSON, and counts its flushes. To be read once the handler has
/// been flushed or stopped.
struct RecordingSink : Sink {
    void append(const Message& message) override { entries.push_back(message.toJson(false, "")); }
    void flush() override { ++flushes; }

    Entries entries;
    int flushes = 0;
};

struct LambdaSink : Sink {
    explicit LambdaSink(
        std::function<void(const Message&)> append, std::function<void()> flush = [] {})
        : onAppend(std::move(append)), onFlush(std::move(flush)) {}
    void append(const Message& message) override { onAppend(message); }
    void flush() override { onFlush(); }

    const std::function<void(const Message&)> onAppend;
    const std::function<void()> onFlush;
};

/// Lets threads wait until it is opened. The standard latch misses wake-ups in the runtime of g++
/// 12 for Windows.
struct Gate {
    void open() {
        const std::lock_guard<std::mutex> guard(mutex);
        isOpen = true;
        signal.notify_all();
    }
    void wait() {
        std::unique_lock<std::mutex> guard(mutex);
        signal.wait(guard, [this] { return isOpen; });
    }

    std::mutex mutex;
    std::condition_variable signal;
    bool isOpen = false;
};

/// Holds the worker at the first entry until it is released.
struct HoldingSink : Sink {
    void append(const Message&) override {
        entered.open();
        released.wait();
    }
    void flush() override {}

    Gate entered;
    Gate released;
};

/// A thread that is joined at its end, also where the standard library has none.
struct JoiningThread : std::thread {
    using std::thread::thread;
    JoiningThread(JoiningThread&&) = default;
    ~JoiningThread() {
        if (joinable()) join();
    }
};

/// A directory of its own for one test, with everything in it removed at the end.
struct TemporaryDirectory {
    TemporaryDirectory() { std::filesystem::create_directory(path); }
    ~TemporaryDirectory() { std::filesystem::remove_all(path); }

    const std::filesystem::path path = std::filesystem::temp_directory_path() /
                                       ("korvel-" + std::to_string(std::random_device{}()));
};

#ifdef _WIN32
constexpr char LINE_END[] = "\r\n";
#else
constexpr char LINE_END[] = "\n";
#endif

/// The file in text mode, so that a line end is one line feed on every platform.
inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream stream(path);
    EXPECT_TRUE(stream) << path;
    return {std::istreambuf_iterator<char>(stream), {}};
}
