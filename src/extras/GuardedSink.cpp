// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/GuardedSink.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace Korvel::Extras {
namespace {

using Failure = GuardedSinkFailure;
using Operation = Failure::Operation;
using Clock = std::chrono::steady_clock;

constexpr std::size_t MAX_TEXT = 300;

/// Whether a reporter runs on this thread, of whichever sink.
thread_local bool isReporting = false;

std::string textOf(const std::exception_ptr& exception) {
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception& caught) {
        const char* const text = caught.what();
        return text == nullptr ? "" : text;
    } catch (...) {
        return "unknown exception";
    }
}

void call(Sink* sink, Operation operation, const Message* entry) {
    if (sink == nullptr) throw std::logic_error("there is no sink");
    if (operation == Operation::Append) {
        sink->append(*entry);
    } else {
        sink->flush();
    }
}

/// Writes nothing for an empty text, and otherwise once, so that lines of several processes stay
/// whole.
void writeLine(std::string line) {
    if (line.empty()) return;
    for (char& byte : line) {
        if (byte < ' ' || byte > '~') byte = '?';
    }
    line.push_back('\n');
    std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string counted(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " failure" : " failures");
}

/// The failures of one sink.
struct Tally {
    struct Row {
        std::uint64_t length = 0;
        std::optional<std::chrono::system_clock::time_point> since;
    };

    Row& row(Operation operation) { return rows[operation == Operation::Append ? 0 : 1]; }

    bool isFailing() const { return rows[0].length > 0 || rows[1].length > 0; }

    std::array<Row, 2> rows;
    std::uint64_t total = 0;
};

/// The default reporter without its output. An empty text means that there is nothing to report.
class FailureLine {
public:
    FailureLine(std::string name, Clock::duration interval)
        : name_(std::move(name)), interval_(interval) {}

    bool hasSwallowed() const { return swallowed_ > 0; }

    std::string failed(const Failure& failure) {
        if (!isTime()) {
            ++swallowed_;
            return {};
        }
        std::string line = failure.isFallback ? "fallback failed to " : "failed to ";
        line += failure.operation == Operation::Append ? "append" : "flush";
        if (hasSwallowed()) line += " (" + counted(swallowed_) + " not shown before)";
        return next(line + ": " + failure.text.substr(0, MAX_TEXT));
    }

    std::string worked() {
        if (!hasSwallowed() || !isTime()) return {};
        return next("works again (" + counted(swallowed_) + " not shown)");
    }

    std::string end() {
        return hasSwallowed() ? next("ends (" + counted(swallowed_) + " not shown)")
                              : std::string();
    }

private:
    bool isTime() const { return !last_ || Clock::now() - *last_ >= interval_; }

    std::string next(const std::string& event) {
        std::string line = "Korvel: " + name_ + ' ' + event;
        last_ = Clock::now();
        swallowed_ = 0;
        return line;
    }

    const std::string name_;
    const Clock::duration interval_;
    std::optional<Clock::time_point> last_;
    std::uint64_t swallowed_ = 0;
};

}  // namespace

struct GuardedSink::State {
    State(std::shared_ptr<Sink> sink, GuardedSinkOptions&& given, std::mutex& lock)
        : target(std::move(sink)),
          options(std::move(given)),
          mutex(lock),
          line(options.name, options.interval) {}

    /// Calls one operation of the target, and of the fallback what follows from it.
    void run(Operation operation, const Message* entry) noexcept {
        const bool isDone = attempt(operation, entry, false);
        if (options.fallback == nullptr) return;
        if (!isDone || operation == Operation::Flush) (void)attempt(operation, entry, true);
    }

    bool attempt(Operation operation, const Message* entry, bool isFallback) noexcept {
        const std::shared_ptr<Sink>& sink = isFallback ? options.fallback : target;
        try {
            call(sink.get(), operation, entry);
        } catch (...) {
            Failure failure;
            failure.operation = operation;
            failure.isFallback = isFallback;
            failure.entry = entry;
            failure.exception = std::current_exception();
            failed(failure);
            return false;
        }
        if (needsSuccess.load(std::memory_order_relaxed)) worked(operation, isFallback);
        return true;
    }

    void failed(Failure& failure) noexcept {
        count(failure);
        if (std::exchange(isReporting, true)) return missed();
        try {
            failure.text = textOf(failure.exception);
            report(failure);
        } catch (...) {
            missed();
        }
        isReporting = false;
    }

    void count(Failure& failure) noexcept {
        const std::lock_guard<std::mutex> guard(mutex);
        Tally& tally = failure.isFallback ? fallbackTally : targetTally;
        Tally::Row& row = tally.row(failure.operation);
        if (row.length == 0) row.since = std::chrono::system_clock::now();
        failure.inARow = ++row.length;
        failure.total = ++tally.total;
        needsSuccess.store(true, std::memory_order_relaxed);
    }

    void report(const Failure& failure) {
        if (options.reporter) return options.reporter(failure);
        std::unique_lock<std::mutex> guard(mutex);
        std::string text = line.failed(failure);
        guard.unlock();  // Standard error can be stuck, and state must not wait for it.
        writeLine(std::move(text));
    }

    void missed() noexcept {
        const std::lock_guard<std::mutex> guard(mutex);
        ++unreported;
    }

    void worked(Operation operation, bool isFallback) noexcept try {
        std::unique_lock<std::mutex> guard(mutex);
        (isFallback ? fallbackTally : targetTally).row(operation) = {};
        std::string text = isFallback || targetTally.isFailing() ? std::string() : line.worked();
        needsSuccess.store(
            line.hasSwallowed() || targetTally.isFailing() || fallbackTally.isFailing(),
            std::memory_order_relaxed);
        guard.unlock();
        writeLine(std::move(text));
    } catch (...) {
        // There is no memory for the line: the next success tries again.
    }

    const std::shared_ptr<Sink> target;
    const GuardedSinkOptions options;

    /// Whether a success has to end a row or to tell of swallowed failures.
    std::atomic<bool> needsSuccess = false;

    /// Guards everything below.
    std::mutex& mutex;
    Tally targetTally;
    Tally fallbackTally;
    std::uint64_t unreported = 0;
    FailureLine line;
};

GuardedSink::GuardedSink(std::shared_ptr<Sink> target, GuardedSinkOptions options)
    : state_(std::make_unique<State>(std::move(target), std::move(options), sinkLock)) {}

GuardedSink::~GuardedSink() {
    try {
        writeLine(state_->line.end());
    } catch (...) {
        // There is no memory for the line, and nobody to tell.
    }
}

void GuardedSink::flush() noexcept {
    state_->run(Operation::Flush, nullptr);
}

void GuardedSink::append(const Message& message) noexcept {
    state_->run(Operation::Append, &message);
}

GuardedSinkState GuardedSink::state() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    GuardedSinkState state;
    state.failures = state_->targetTally.total;
    state.fallbackFailures = state_->fallbackTally.total;
    state.unreported = state_->unreported;
    for (const Tally::Row& row : state_->targetTally.rows) {
        state.failuresInARow += row.length;
        if (!state.failingSince || (row.since && row.since < state.failingSince)) {
            state.failingSince = row.since;
        }
    }
    return state;
}

}  // namespace Korvel::Extras
