// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Sink.h>

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Korvel::Extras {

/// A call of a guarded sink that ended in an exception.
struct GuardedSinkFailure {
    /// The call that failed.
    enum class Operation { Append, Flush };

    /// Which call of the sink threw.
    Operation operation = Operation::Append;
    /// Whether the fallback threw, after the target had failed on the same entry.
    bool isFallback = false;
    /// The entry; null for a flush. Valid only during the call of the reporter.
    const Message* entry = nullptr;
    /// What the call threw.
    std::exception_ptr exception;
    /// The exception's `what()`; "unknown exception" if it is not a `std::exception`.
    std::string text;
    /// Failures of this operation of this sink since its last success, including this one.
    std::uint64_t inARow = 0;
    /// All failures of this sink, including this one.
    std::uint64_t total = 0;
};

/// The settings of a GuardedSink.
struct GuardedSinkOptions {
    /// Called for each failure; what it throws is ignored. Empty: the default reporter writes to
    /// standard error.
    std::function<void(const GuardedSinkFailure&)> reporter;
    /// Receives each entry on which the target failed; null: such entries are lost.
    std::shared_ptr<Sink> fallback;
    /// The name of the target in lines of the default reporter.
    std::string name = "sink";
    /// The shortest time between two lines of the default reporter.
    std::chrono::steady_clock::duration interval = std::chrono::seconds(1);
};

/// What has happened to a GuardedSink so far.
struct GuardedSinkState {
    /// Calls of the target that threw.
    std::uint64_t failures = 0;
    /// Those since the last success. A successful flush does not end a row of failed appends, nor
    /// the reverse.
    std::uint64_t failuresInARow = 0;
    /// Calls of the fallback that threw.
    std::uint64_t fallbackFailures = 0;
    /// Failures that were not reported: those inside a report, and those whose report threw.
    std::uint64_t unreported = 0;
    /// The first failure of the current row; nothing if the last calls succeeded.
    std::optional<std::chrono::system_clock::time_point> failingSince;
};

/// A Sink that forwards to another Sink and lets no exception out.
///
/// A guarded sink that throws neither ends the worker of a SinkHandler nor keeps the entry from the
/// sinks after it. Each failure is counted and reported. With a fallback, the failed entry goes
/// there instead; flush always goes to both. A null target fails on every call, so the fallback
/// also replaces a target that could not be created.
///
/// The default reporter writes one line to standard error, at most one in each interval. Failures
/// in between are only counted, and the next line contains their number: at the next failure, when
/// the target works again and the interval is over, or in the destructor, which does not wait for
/// the interval. The line shows at most 300 bytes of the exception's text, and bytes outside of
/// printable ASCII as `?`.
///
/// For writers of reporters: the reporter runs inside append or flush, so on the worker thread of a
/// SinkHandler, where log and flush of this handler throw. It must not wait for other threads that
/// log. A failure on a thread that is running a reporter is counted but not reported, so a
/// reporter may use a guarded sink, even this one.
///
/// Not promised: a target that fails silently, as FileSink does on a full disk, does not count as
/// failed. A target may have written part of an entry before it threw, and then fallback and target
/// both have it.
///
/// Errors: append and flush never throw.
///
/// Threads: takes no lock for a call that succeeds. Target, fallback and reporter are called on the
/// thread that calls append or flush, concurrently if these are. state may be called from any
/// thread, also by a reporter.
///
/// Ownership: shares target and fallback; the destructor does not flush them.
class KORVEL_EXTRAS_API GuardedSink : public Sink {
public:
    /// Guards `target`.
    explicit GuardedSink(std::shared_ptr<Sink> target, GuardedSinkOptions options = {});
    ~GuardedSink() override;

    void flush() noexcept override;
    void append(const Message& message) noexcept override;

    /// The counts since construction, all of the same moment.
    GuardedSinkState state();

private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace Korvel::Extras
