// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Logger.h>
#include <Korvel/Message.h>
#include <Korvel/SinkHandler.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace Korvel::Extras {

class MonitorState;

/// The settings of a Monitor.
struct MonitorOptions {
    /// How often the watcher checks, which is also the accuracy of the times in a snapshot. Zero
    /// means that there is no watcher: nothing is restarted, and only flush checks for a dead
    /// worker and for lost entries.
    std::chrono::milliseconds interval{100};
    /// Whether the watcher starts the worker again after a sink has ended it.
    bool restart = false;
    /// The shortest time between two restarts.
    std::chrono::milliseconds restartPause{1000};
    /// Further counts by name, such as the failures of a guarded sink. snapshot calls each function
    /// on the thread of its caller, and throws what a function throws.
    std::map<std::string, std::function<std::uint64_t()>> failed;
};

/// The counts of a Monitor at one moment. `accepted` is always `delivered + waiting + lost`. Names
/// for metrics that an application exports:
///
/// | Member | Prometheus | OpenTelemetry |
/// |---|---|---|
/// | accepted | `korvel_accepted_total` | `otel.sdk.log.created` |
/// | refused | `korvel_refused_total` | `otel.sdk.processor.log.processed`, with `error.type` |
/// | delivered | `korvel_delivered_total` | `otel.sdk.processor.log.processed` |
/// | lost | `korvel_lost_total` | `otel.sdk.processor.log.processed`, with `error.type` |
/// | waiting | `korvel_waiting` | `otel.sdk.processor.log.queue.size` |
/// | restarts | `korvel_restarts_total` | |
struct MonitorSnapshot {
    /// Entries that the handler has taken. Only grows, like the next two.
    std::uint64_t accepted = 0;
    /// Entries that the handler has refused. An exception of log counts as a refusal.
    std::uint64_t refused = 0;
    /// Entries that every sink has received.
    std::uint64_t delivered = 0;
    /// Entries that a sink dropped when it ended the worker. Known once a worker runs again; until
    /// then they count as waiting. Only grows, and is never too large.
    std::uint64_t lost = 0;
    /// Entries that are accepted and neither delivered nor known to be lost.
    std::uint64_t waiting = 0;
    /// The most entries that waited at one time. Too small by about 64 at most.
    std::uint64_t highestWaiting = 0;
    /// How long the oldest waiting entry has waited; zero if none waits. Too short by at most the
    /// interval of the watcher, or by a 64th of itself if that is longer. Entries that are logged
    /// while a slow sink holds up a flush of the watcher are first seen by the next snapshot.
    std::chrono::milliseconds oldestWaiting{0};
    /// When the last delivery was noticed, by the watcher or by a snapshot.
    std::optional<std::chrono::system_clock::time_point> lastDelivery;
    /// How often the watcher has restarted the worker.
    std::uint64_t restarts = 0;
    /// Whether the handler had a worker when that was last checked. The watcher checks it when no
    /// entry is delivered although some wait; a worker that a sink holds up is alive.
    bool workerAlive = false;
    /// The counts of MonitorOptions::failed.
    std::map<std::string, std::uint64_t> failed;
};

/// The snapshot as a Map with the names of its members as keys, except for "oldestWaitingMs".
/// "lastDelivery" is a String in the form of createIso8601String, or Null.
KORVEL_EXTRAS_API Message toMessage(const MonitorSnapshot& snapshot);

/// A Logger in front of a SinkHandler that counts entries and answers an operator's questions: do
/// entries arrive, do they pile up, is the worker alive?
///
/// The constructor installs a sink that counts deliveries. Install all other sinks before: an entry
/// is delivered when this sink receives it, and a sink that is installed later can still drop it.
/// Log through the monitor only, from the first entry on. Entries that reach the handler in another
/// way count as accepted when they are delivered, and hide as many that wait or were lost. An entry
/// that contains a snapshot is counted like any other.
///
/// Cost: a few nanoseconds for each entry.
///
/// A sink that throws ends the worker of the handler. The watcher, a thread of the monitor, notices
/// that entries wait and none is delivered, and flushes the handler to find out: a flush that
/// reaches no sink means that there is no worker. It then starts a new one, if the options ask for
/// it. It starts none if no entry waits, as in a handler that was stopped, or if it has never seen
/// a worker, so start the handler before you create the monitor. After a restart, also one by the
/// application, the watcher finds out how many entries were lost. It finds too few while others are
/// delivered, so it tries again until it sees that no entry waits. Under a load that never lets the
/// queue become empty, lost entries continue to count as waiting.
///
/// Stopping: with `restart`, the monitor is the owner of the handler, who alone may call
/// startProcessing and stopProcessing. Call stopWatching, or destroy the monitor, before you stop
/// the handler. The destructor stops the watcher as well. The sink stays in the handler.
///
/// Not promised: `lost` does not include entries that a sink dropped without throwing. A restart
/// does not repair the sink: if it throws again, it takes another batch of entries with it. To keep
/// a sink from ending the worker, use GuardedSink.
///
/// Errors: the constructor throws `std::invalid_argument` for a null handler and
/// `std::system_error` if the system refuses a thread. log and flush throw what the handler throws.
///
/// Threads: log, flush, snapshot and stopWatching may be called from any thread. A flush by the
/// watcher waits for a slow sink, and then the destructor and stopWatching wait for it as well.
///
/// Ownership: shares the handler.
class KORVEL_EXTRAS_API Monitor : public Logger {
public:
    /// Flushes the handler, to learn whether it has a worker.
    explicit Monitor(std::shared_ptr<SinkHandler> handler, MonitorOptions options = {});
    ~Monitor() override;

    using Logger::log;
    bool log(const std::wstring& type, Message message) override;

    /// Flushes the handler. Then everything accepted before the call has been delivered or counted
    /// as lost, if there is a worker.
    void flush() override;

    /// Never waits for a sink.
    MonitorSnapshot snapshot() const;

    /// Ends the watcher for good. The counts continue as without a watcher.
    void stopWatching();

private:
    friend class BoundedLogger;

    std::unique_ptr<MonitorState> state_;
};

}  // namespace Korvel::Extras
