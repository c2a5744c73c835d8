// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Extras/Monitor.h>
#include <Korvel/Logger.h>
#include <Korvel/Message.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace Korvel::Extras {

/// The settings of a BoundedLogger.
struct BoundedLoggerOptions {
    /// The most entries that may wait, at least 2. One of these places is kept for the note about
    /// refused entries.
    std::uint64_t ceiling = 65536;
    /// The share of the ceiling that is kept for entries of Error and above, from 0 to 1. An entry
    /// without a severity is an ordinary one.
    double reserve = 0.125;
    /// How long log waits for a place before it refuses an entry. Zero means not at all.
    std::chrono::milliseconds wait{0};
};

/// A Logger in front of a Monitor that refuses entries while too many of them wait, so that a slow
/// or blocked sink cannot fill the memory.
///
/// log returns false for a refused entry. The log also receives a report of refused entries, an
/// entry of the type "EntriesRefused" and the severity warning, as soon as ordinary entries are
/// admitted again, but at most once a second, and on flush and destruction:
///
///     {"bySeverity":{"error":2,"info":38,"none":1},"message":"EntriesRefused","number":41,
///      "severity":"warning","since":"2026-11-18T21:16:42.123Z",
///      "timestamp":"2026-11-18T21:16:45.001Z"}
///
/// "bySeverity" contains the severities that occurred, and "none" for entries without one. "since"
/// is the time of the first refusal that the entry counts.
///
/// The ceiling is exact, for any number of threads, for what is logged through this logger: the
/// entries that its Monitor counts as waiting and the calls in progress never exceed it. Other
/// entries of the same Monitor take places as well, without asking. Only the last note, from the
/// destructor, can exceed the ceiling by one.
///
/// With a wait, log returns when there is a place, after that time, or as soon as the Monitor has
/// noticed that there is no worker. Waiting threads get places in no particular order. A sink that
/// logs on the worker thread never waits, once the Monitor has identified the worker by a flush or
/// 64 deliveries. Do not log while holding a lock that a sink needs.
///
/// When a sink ends the worker, its entries keep their places until the Monitor counts them as
/// lost: once a worker runs again and the load pauses. Without MonitorOptions::restart, log can
/// keep refusing entries.
///
/// Not promised: the ceiling is a number of entries, not of bytes. An entry that the handler itself
/// refuses, because it is stopped, is refused here as well but not in the note.
///
/// Errors: the constructor throws `std::invalid_argument` for a null Monitor or a ceiling below 2.
/// log and flush throw what the Monitor throws.
///
/// Threads: log and flush may be called from any thread.
///
/// Ownership: shares the Monitor.
class KORVEL_EXTRAS_API BoundedLogger : public Logger {
public:
    /// Limits what is logged through `monitor`, which must not be null.
    explicit BoundedLogger(std::shared_ptr<Monitor> monitor, BoundedLoggerOptions options = {});
    ~BoundedLogger() override;

    using Logger::log;
    bool log(const std::wstring& type, Message message) override;

    /// Logs the note about refused entries, if there is a place for it, and flushes the Monitor.
    void flush() override;

private:
    class State;

    std::unique_ptr<State> state_;
};

}  // namespace Korvel::Extras
