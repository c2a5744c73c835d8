// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/BoundedLogger.h>
#include <Korvel/Extras/Export.h>
#include <Korvel/Extras/FlushAtExit.h>
#include <Korvel/Extras/GuardedSink.h>
#include <Korvel/Extras/LineConsoleSink.h>
#include <Korvel/Extras/Monitor.h>
#include <Korvel/Extras/ReopeningFileSink.h>
#include <Korvel/Extras/SeverityLogger.h>
#include <Korvel/Extras/WellFormedSink.h>
#include <Korvel/Sink.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Korvel::Extras {

class LoggingState;

/// What a Logging consists of. The defaults are meant for a service:
///
/// | Part | Default |
/// |---|---|
/// | severity | Info and above, at the key "severity" |
/// | time | ISO 8601 in UTC with milliseconds, at the key "timestamp" |
/// | thread | at the key "thread" |
/// | context | the keys of Context scopes |
/// | location of the call | off |
/// | sampling | none |
/// | ceiling | 65,536 waiting entries, an eighth for errors; "EntriesRefused" counts the refused |
/// | sinks | guarded and well-formed; a console if there is no other |
/// | file | JSON lines, permissions 0640, neither rotated nor synced |
/// | worker that a sink has ended | started again, at most once a second |
/// | uncaught exception, std::terminate, std::exit | flushed |
/// | signals, console control events | left to the application |
/// | wait at the end | 5 seconds |
struct LoggingOptions {
    LoggingOptions() {
        monitor.restart = true;
        exit.limit = std::chrono::seconds(5);
    }

    /// Can be changed later: `logging.logger().threshold()->set(...)`.
    Severity severity = Severity::Info;
    bool hasTimestamp = true;  ///< Adds the time of the log call.
    bool hasThread = true;     ///< Adds the id of the thread.
    bool hasContext = true;    ///< Adds the keys of the Context scopes.
    bool hasLocation = false;  ///< Adds the location of the log call.
    /// `std::nullopt`: no ceiling.
    std::optional<BoundedLoggerOptions> ceiling = BoundedLoggerOptions();
    /// The monitor itself is always there: the ceiling and snapshot need it. The snapshot's
    /// `failed` also contains the failures of the guarded sinks under their names. Sinks of the
    /// same name are counted together.
    MonitorOptions monitor;
    /// Whether the sinks are guarded, and what applies to all guards. The name is that of the sink.
    bool isGuarded = true;
    GuardedSinkOptions guard;  ///< See `isGuarded`.
    /// Whether entries are repaired by a WellFormedSink, and its settings.
    bool isWellFormed = true;
    WellFormedSinkOptions wellFormed;  ///< See `isWellFormed`.
    /// The limit also applies to the destructor of Logging.
    FlushAtExitOptions exit;
};

/// Everything that logs in an application, in one object. LoggingBuilder makes it.
///
/// The destructor ends it: it refuses further entries, logs the note about refused ones, delivers
/// everything that was accepted, flushes the sinks, and stops the worker. Then it releases the
/// sinks, which closes the file, and removes the exit hook. This takes at most the limit of
/// LoggingOptions::exit. If a sink is stuck for longer, the destructor abandons it together with
/// the entries that wait for it, and a line on standard error contains their number.
///
/// Keep the object in a local variable of `main`. `std::exit` and uncaught exceptions do not
/// destroy it, but flush it; see FlushAtExit.
///
/// After the end, copies of the logger are still safe to use: log returns false, and nothing is
/// counted.
///
/// Errors: after the start, the logger throws only `std::bad_alloc`, what the caller's payload
/// throws while it is built, `std::range_error` for a narrow type name that is not UTF-8, and, if a
/// sink calls it on the worker thread, the `std::logic_error` of SinkHandler. snapshot throws what
/// a function of MonitorOptions::failed throws. What a sink or a predicate throws is reported by
/// its guard, by default on standard error.
///
/// Threads: all operations but the destructor may be called from any thread. Do not destroy the
/// object in a sink. In a process made by fork, log nothing: it has no worker, and the destructor
/// does nothing.
///
/// Ownership: owns or shares all parts. An object that was moved from can only be destroyed.
class [[nodiscard]] Logging {
public:
    Logging(Logging&&) noexcept = default;
    Logging& operator=(Logging&&) = delete;
    KORVEL_EXTRAS_API ~Logging();

    /// Copies share its threshold. The reference is valid as long as this object.
    KORVEL_EXTRAS_API const SeverityLogger& logger() const& noexcept;
    const SeverityLogger& logger() const&& = delete;

    /// The chain to which the SeverityLogger writes. Use it for further Extenders, and for
    /// SeverityLoggers with thresholds of their own.
    KORVEL_EXTRAS_API const std::shared_ptr<Logger>& chain() const& noexcept;
    const std::shared_ptr<Logger>& chain() const&& = delete;

    /// What became of the entries so far. Does not wait for a sink.
    KORVEL_EXTRAS_API MonitorSnapshot snapshot() const;

private:
    friend class LoggingBuilder;

    /// In the header, so that the exit hook is registered by the application's own code.
    Logging(std::shared_ptr<LoggingState> state, const FlushAtExitOptions& exit)
        : state_(std::move(state)) {
        if (exit.atExit || exit.atTerminate || exit.atSignals) {
            exit_ = std::make_unique<FlushAtExit>(limiter(), exit);
        }
    }

    KORVEL_EXTRAS_API const std::shared_ptr<Logger>& limiter() const noexcept;

    // Destroyed last.
    std::unique_ptr<FlushAtExit> exit_;
    std::shared_ptr<LoggingState> state_;
};

/// Builds a Logging, the safe way to start:
///
///     auto logging = Korvel::Extras::LoggingBuilder().console().file("app.jsonl").start();
///     const auto& log = logging.logger();
///     log.info("OrderPlaced", {{"order", 4711}});
///
/// A WellFormedSink wraps each sink and its predicate, and a GuardedSink wraps both. So no entry
/// can end the worker: one with a lone surrogate is repaired, and one on which a predicate or a
/// sink throws is reported. The other sinks and the next entries are not affected. A predicate sees
/// the repaired entry; an empty one accepts all.
///
/// Errors: see file and start. After an exception from file, the builder is still usable.
///
/// Threads: only one thread at a time may use the builder.
class LoggingBuilder {
public:
    /// Selects the entries that a sink receives; empty means all.
    using Predicate = std::function<bool(const Message&)>;

    /// Begins without a sink.
    KORVEL_EXTRAS_API explicit LoggingBuilder(LoggingOptions options = {});
    KORVEL_EXTRAS_API ~LoggingBuilder();
    LoggingBuilder(const LoggingBuilder&) = delete;
    LoggingBuilder& operator=(const LoggingBuilder&) = delete;

    /// Adds a console for people, one line for each entry. Its name is "console".
    KORVEL_EXTRAS_API LoggingBuilder& console(const LineConsoleSinkOptions& options = {},
                                              Predicate predicate = {});

    /// Adds a file of JSON lines, which is opened at once. Its name is that of the file. Throws
    /// `std::filesystem::filesystem_error` if it cannot be opened; a program that should run anyway
    /// catches that and adds a console. If others rotate the file, set `checksPath`; a program that
    /// calls reopen creates the ReopeningFileSink itself and adds it with sink.
    KORVEL_EXTRAS_API LoggingBuilder& file(const std::filesystem::path& path,
                                           ReopeningFileSinkOptions options = {},
                                           Predicate predicate = {});

    /// Adds any sink. The name appears in reports of failures and in the snapshot. Entries that a
    /// ReopeningFileSink drops count as failures.
    KORVEL_EXTRAS_API LoggingBuilder& sink(std::string name, std::shared_ptr<Sink> sink,
                                           Predicate predicate = {});

    /// Starts the worker and hands over the sinks; the builder keeps none. Throws
    /// `std::invalid_argument` for a ceiling below 2, and `std::system_error` if the worker does
    /// not start because the system refuses a thread or an unguarded sink throws from flush.
    [[nodiscard]] Logging start() { return Logging(makeState(), options_.exit); }

private:
    friend class LoggingState;

    struct NamedSink {
        std::string name;
        std::shared_ptr<Sink> sink;
        /// Entries that the sink dropped without throwing.
        std::function<std::uint64_t()> dropped;
    };

    KORVEL_EXTRAS_API std::shared_ptr<LoggingState> makeState();
    void add(NamedSink sink, Predicate predicate);

    LoggingOptions options_;
    std::vector<NamedSink> sinks_;
};

}  // namespace Korvel::Extras
