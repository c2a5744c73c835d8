// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Korvel.h>

#include <gtest/gtest.h>

#include <algorithm>
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

/// Records entries as compact JSON and counts flushes. Read it only after the handler has been
/// flushed or stopped.
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

/// Blocks threads until it is opened. std::latch misses wake-ups in the runtime of g++ 12 for
/// Windows.
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

/// Blocks the worker at the first entry until released.
struct HoldingSink : Sink {
    void append(const Message&) override {
        entered.open();
        released.wait();
    }
    void flush() override {}

    Gate entered;
    Gate released;
};

/// A thread joined by its destructor, because not every standard library has std::jthread.
struct JoiningThread : std::thread {
    using std::thread::thread;
    JoiningThread(JoiningThread&&) = default;
    ~JoiningThread() {
        if (joinable()) join();
    }
};

/// A separate directory for one test, removed with its content on destruction.
struct TemporaryDirectory {
    TemporaryDirectory() { std::filesystem::create_directory(path); }
    ~TemporaryDirectory() { std::filesystem::remove_all(path); }

    const std::filesystem::path path = std::filesystem::temp_directory_path() /
                                       ("korvel-" + std::to_string(std::random_device{}()));
};

/// Maps and vectors in each other, twice as many levels as `pairs`, and the text of them.
inline Message deepTree(int pairs, Message innermost) {
    for (int i = 0; i < pairs; ++i) {
        Message list(std::vector<Message>(1));
        list[0] = std::move(innermost);
        innermost = Message();
        innermost["k"] = std::move(list);
    }
    return innermost;
}
inline std::string deepText(int pairs, const std::string& innermost) {
    std::string text;
    for (int i = 0; i < pairs; ++i) text += "{\"k\":[";
    text += innermost;
    for (int i = 0; i < pairs; ++i) text += "]}";
    return text;
}

#ifdef _WIN32
constexpr char LINE_END[] = "\r\n";
#else
constexpr char LINE_END[] = "\n";
#endif

/// Reads the file in text mode, so a line end is one line feed on every platform.
inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream stream(path);
    EXPECT_TRUE(stream) << path;
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Replaces each time in ISO 8601 with milliseconds by "TIME". std::regex makes g++ 12 warn under
/// AddressSanitizer.
inline std::string withoutTimes(std::string text) {
    constexpr std::string_view FORM = "0000-00-00T00:00:00.000Z";
    const auto matches = [](char letter, char form) {
        return form == '0' ? letter >= '0' && letter <= '9' : letter == form;
    };
    for (;;) {
        const auto found = std::search(text.begin(), text.end(), FORM.begin(), FORM.end(), matches);
        if (found == text.end()) return text;
        text.replace(found, found + FORM.size(), "TIME");
    }
}
