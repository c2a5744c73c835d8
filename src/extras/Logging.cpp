// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/Logging.h>

#include "extras/LoggingParts.h"
#include "extras/platform/Signals.h"

#include <Korvel/Extras/Context.h>
#include <Korvel/Filter.h>
#include <Korvel/Functions.h>

#include <atomic>
#include <cstdio>
#include <exception>
#include <map>
#include <new>
#include <system_error>
#include <thread>

namespace Korvel::Extras {
namespace {

/// Keeps the number of entries that a file has dropped. Asking the file would wait for a
/// write that is stuck.
class CountedFile : public Sink {
public:
    using Dropped = std::shared_ptr<std::atomic<std::uint64_t>>;

    CountedFile(std::shared_ptr<ReopeningFileSink> file, Dropped dropped)
        : file_(std::move(file)), dropped_(std::move(dropped)) {}

    void flush() override { file_->flush(); }
    void append(const Message& message) override {
        file_->append(message);
        *dropped_ = file_->status().dropped;
    }

private:
    const std::shared_ptr<ReopeningFileSink> file_;
    const Dropped dropped_;
};

std::shared_ptr<Logger> makeChain(std::shared_ptr<Logger> logger, const LoggingOptions& options) {
    if (options.hasThread) logger = createThreadIdExtender(logger, L"thread");
    if (options.hasTimestamp) logger = createTimestampExtender(logger, L"timestamp");
    if (options.hasContext) logger = createContextExtender(logger);
    return logger;
}

using Count = std::function<std::uint64_t()>;

/// Adds to `count`, which may be empty. The counts do not keep the sinks alive.
void countFailures(Count& count, const std::weak_ptr<GuardedSink>& sink, Count dropped) {
    count = [others = std::move(count), sink, dropped = std::move(dropped)] {
        const std::shared_ptr<GuardedSink> guard = sink.lock();
        return (others ? others() : 0) + (guard ? guard->state().failures : 0) +
               (dropped ? dropped() : 0);
    };
}

}  // namespace

class LoggingState {
public:
    LoggingState(const LoggingOptions& options, std::vector<LoggingBuilder::NamedSink> sinks);
    LoggingState(const LoggingState&) = delete;
    LoggingState& operator=(const LoggingState&) = delete;
    ~LoggingState();

    MonitorSnapshot snapshot() const;
    const std::shared_ptr<Logger>& limiter() const noexcept { return parts_->limiter; }
    const std::shared_ptr<Logger>& chain() const noexcept { return chain_; }
    const SeverityLogger& logger() const noexcept { return *logger_; }

private:
    void install(const LoggingOptions& options, LoggingBuilder::NamedSink& sink);
    void startMonitor(MonitorOptions options);

    std::shared_ptr<LoggingParts> parts_ = std::make_shared<LoggingParts>();
    std::shared_ptr<Logger> chain_;
    std::optional<SeverityLogger> logger_;
    /// Not in the monitor: what the application counts there can wait for a stuck sink, or throw.
    std::map<std::string, Count> failed_;
    const std::chrono::milliseconds limit_;
    const long process_ = processId();
};

LoggingState::LoggingState(const LoggingOptions& options,
                           std::vector<LoggingBuilder::NamedSink> sinks)
    : failed_(options.monitor.failed), limit_(options.exit.limit) {
    for (LoggingBuilder::NamedSink& sink : sinks) install(options, sink);
    startMonitor(options.monitor);
    parts_->limiter = parts_->monitor;
    if (options.ceiling) {
        parts_->limiter = std::make_shared<BoundedLogger>(parts_->monitor, *options.ceiling);
    }
    parts_->gate = std::make_shared<Gate>(parts_->limiter);
    chain_ = makeChain(parts_->gate, options);
    logger_ = SeverityLogger(chain_, options.severity).withLocation(options.hasLocation);
}

LoggingState::~LoggingState() {
    if (process_ != processId()) {
        // Their threads are in the parent process, and destructors would wait for them.
        static_cast<void>(new (std::nothrow) std::shared_ptr<LoggingParts>(parts_));
        return;
    }
    std::thread thread;
    try {
        thread = startThreadWithoutSignals([parts = parts_] { parts->end(); });
    } catch (...) {
        // There is no thread for it, so the limit cannot be kept.
        parts_->end();
        return;
    }
    const bool hasEnded = parts_->waitForEnd(limit_);
    hasEnded ? thread.join() : thread.detach();
    const auto waiting = static_cast<unsigned long long>(parts_->monitor->snapshot().waiting);
    if (hasEnded && waiting == 0) return;
    std::fprintf(stderr, "Korvel: %sentries not delivered: %llu\n",
                 hasEnded ? "" : "a sink is stuck; ", waiting);
}

MonitorSnapshot LoggingState::snapshot() const {
    MonitorSnapshot snapshot = parts_->monitor->snapshot();
    for (const auto& [name, count] : failed_) snapshot.failed[name] = count();
    return snapshot;
}

/// The guard is outermost, so it also contains what the repair throws without memory.
void LoggingState::install(const LoggingOptions& options, LoggingBuilder::NamedSink& sink) {
    std::shared_ptr<Sink> outer = std::move(sink.sink);
    if (options.isWellFormed) outer = std::make_shared<WellFormedSink>(outer, options.wellFormed);
    std::shared_ptr<GuardedSink> guard;
    if (options.isGuarded) {
        GuardedSinkOptions guardOptions = options.guard;
        guardOptions.name = sink.name;
        outer = guard = std::make_shared<GuardedSink>(outer, std::move(guardOptions));
    }
    if (guard || sink.dropped) countFailures(failed_[sink.name], guard, std::move(sink.dropped));
    parts_->handler->installSink(outer);
    parts_->sinks.push_back(std::move(outer));
}

void LoggingState::startMonitor(MonitorOptions options) {
    options.failed.clear();
    parts_->handler->startProcessing();
    parts_->monitor = std::make_shared<Monitor>(parts_->handler, std::move(options));
    if (!parts_->monitor->snapshot().workerAlive) {
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again),
                                "Korvel has no worker");
    }
}

Logging::~Logging() = default;

const SeverityLogger& Logging::logger() const& noexcept {
    return state_->logger();
}

const std::shared_ptr<Logger>& Logging::chain() const& noexcept {
    return state_->chain();
}

MonitorSnapshot Logging::snapshot() const {
    return state_->snapshot();
}

const std::shared_ptr<Logger>& Logging::limiter() const noexcept {
    return state_->limiter();
}

LoggingBuilder::LoggingBuilder(LoggingOptions options) : options_(std::move(options)) {}

LoggingBuilder::~LoggingBuilder() = default;

LoggingBuilder& LoggingBuilder::console(const LineConsoleSinkOptions& options,
                                        Predicate predicate) {
    return sink("console", std::make_shared<LineConsoleSink>(options), std::move(predicate));
}

LoggingBuilder& LoggingBuilder::file(const std::filesystem::path& path,
                                     ReopeningFileSinkOptions options, Predicate predicate) {
    const std::u8string name = path.filename().u8string();
    return sink(std::string(name.begin(), name.end()),
                std::make_shared<ReopeningFileSink>(path, std::move(options)),
                std::move(predicate));
}

LoggingBuilder& LoggingBuilder::sink(std::string name, std::shared_ptr<Sink> sink,
                                     Predicate predicate) {
    Count count;
    if (auto file = std::dynamic_pointer_cast<ReopeningFileSink>(sink)) {
        const auto dropped = std::make_shared<std::atomic<std::uint64_t>>(0);
        sink = std::make_shared<CountedFile>(std::move(file), dropped);
        count = [dropped] { return dropped->load(); };
    }
    add({std::move(name), std::move(sink), std::move(count)}, std::move(predicate));
    return *this;
}

std::shared_ptr<LoggingState> LoggingBuilder::makeState() {
    if (sinks_.empty()) console();
    return std::make_shared<LoggingState>(options_, std::exchange(sinks_, {}));
}

void LoggingBuilder::add(NamedSink sink, Predicate predicate) {
    if (predicate) {
        sink.sink = std::make_shared<Filter>(std::move(sink.sink), std::move(predicate));
    }
    sinks_.push_back(std::move(sink));
}

}  // namespace Korvel::Extras
