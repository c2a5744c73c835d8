#include <Korvel/Extras/Logging.h>

#include "extras/platform/Signals.h"

#include <Korvel/Extras/Context.h>
#include <Korvel/Filter.h>
#include <Korvel/Functions.h>
#include <Korvel/SinkHandler.h>

#include <condition_variable>
#include <cstdio>
#include <exception>
#include <mutex>
#include <new>
#include <thread>

namespace Korvel::Extras {
namespace {

/// What the end takes apart, on a thread of its own that may be left behind with it.
class LoggingParts {
public:
    std::shared_ptr<SinkHandler> handler = std::make_shared<SinkHandler>(false);
    std::vector<std::shared_ptr<Sink>> sinks;
    std::shared_ptr<Monitor> monitor;
    /// The ceiling, or the monitor if there is none.
    std::shared_ptr<Logger> limiter;

    void end() noexcept {
        try {
            limiter->flush();
        } catch (...) {
            // There is no memory for the note about refused entries.
        }
        monitor->stopWatching();
        handler->stopProcessing();
        for (const std::shared_ptr<Sink>& sink : sinks) handler->removeSink(sink);
        sinks.clear();
        {
            const std::lock_guard<std::mutex> guard(mutex_);
            hasEnded_ = true;
        }
        signal_.notify_all();
    }

    bool waitForEnd(std::chrono::milliseconds limit) {
        std::unique_lock<std::mutex> guard(mutex_);
        return signal_.wait_for(guard, limit, [this] { return hasEnded_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable signal_;
    bool hasEnded_ = false;
};

std::shared_ptr<Logger> makeChain(std::shared_ptr<Logger> logger, const LoggingOptions& options) {
    if (options.hasThread) logger = createThreadIdExtender(logger, L"thread");
    if (options.hasTimestamp) logger = createTimestampExtender(logger, L"timestamp");
    if (options.hasContext) logger = createContextExtender(logger);
    return logger;
}

using Count = std::function<std::uint64_t()>;

/// Adds to `count`, which may be empty. The counts live as long as copies of the logger, and the
/// sinks do not.
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

    const Monitor& monitor() const noexcept { return *parts_->monitor; }
    const std::shared_ptr<Logger>& limiter() const noexcept { return parts_->limiter; }
    const std::shared_ptr<Logger>& chain() const noexcept { return chain_; }
    const SeverityLogger& logger() const noexcept { return *logger_; }

private:
    void install(const LoggingOptions& options, LoggingBuilder::NamedSink& sink,
                 MonitorOptions& monitor);

    std::shared_ptr<LoggingParts> parts_ = std::make_shared<LoggingParts>();
    std::shared_ptr<Logger> chain_;
    std::optional<SeverityLogger> logger_;
    const std::chrono::milliseconds limit_;
    const long process_ = processId();
};

LoggingState::LoggingState(const LoggingOptions& options,
                           std::vector<LoggingBuilder::NamedSink> sinks)
    : limit_(options.exit.limit) {
    MonitorOptions monitor = options.monitor;
    for (LoggingBuilder::NamedSink& sink : sinks) install(options, sink, monitor);
    parts_->handler->startProcessing();
    parts_->monitor = std::make_shared<Monitor>(parts_->handler, std::move(monitor));
    parts_->limiter = parts_->monitor;
    if (options.ceiling) {
        parts_->limiter = std::make_shared<BoundedLogger>(parts_->monitor, *options.ceiling);
    }
    chain_ = makeChain(parts_->limiter, options);
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
    if (parts_->waitForEnd(limit_)) {
        thread.join();
    } else {
        thread.detach();
        const auto waiting = static_cast<unsigned long long>(monitor().snapshot().waiting);
        std::fprintf(stderr, "Korvel: a sink is stuck; entries not delivered: %llu\n", waiting);
    }
}

/// The guard is outermost, so it also contains what the repair throws without memory.
void LoggingState::install(const LoggingOptions& options, LoggingBuilder::NamedSink& sink,
                           MonitorOptions& monitor) {
    std::shared_ptr<Sink> outer = std::move(sink.sink);
    if (options.isWellFormed) outer = std::make_shared<WellFormedSink>(outer, options.wellFormed);
    if (options.isGuarded) {
        GuardedSinkOptions guardOptions = options.guard;
        guardOptions.name = sink.name;
        const auto guard = std::make_shared<GuardedSink>(outer, std::move(guardOptions));
        countFailures(monitor.failed[sink.name], guard, std::move(sink.dropped));
        outer = guard;
    }
    parts_->handler->installSink(outer);
    parts_->sinks.push_back(std::move(outer));
}

Logging::~Logging() = default;

const SeverityLogger& Logging::logger() const& noexcept {
    return state_->logger();
}

const std::shared_ptr<Logger>& Logging::chain() const& noexcept {
    return state_->chain();
}

MonitorSnapshot Logging::snapshot() const {
    return state_->monitor().snapshot();
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
    const auto file = std::make_shared<ReopeningFileSink>(path, std::move(options));
    const std::u8string name = path.filename().u8string();
    const auto dropped = [weak = std::weak_ptr(file)] {
        const auto sink = weak.lock();
        return sink ? sink->status().dropped : 0;
    };
    add({std::string(name.begin(), name.end()), file, dropped}, std::move(predicate));
    return *this;
}

LoggingBuilder& LoggingBuilder::sink(std::string name, std::shared_ptr<Sink> sink,
                                     Predicate predicate) {
    add({std::move(name), std::move(sink), {}}, std::move(predicate));
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
