#pragma once

#include <Korvel/Export.h>
#include <Korvel/Logger.h>
#include <Korvel/Sink.h>

#include <memory>
#include <string>

namespace Korvel {

class Pipeline;

/// The Logger at the end of every chain: it queues entries and delivers them to its sinks on one
/// worker thread of its own, so a thread that logs never waits for a destination.
///
/// An entry is a Map: the keys of a Map payload (or "messageData" with a payload that is neither a
/// Map nor Null), and "message" with the type name, which overwrites a payload's own "message".
///
/// Entries reach every sink in queue order, once each. Sinks are served in install order, and one
/// entry has been offered to all of them before the next is offered to any. The set of sinks is
/// looked at when an entry is delivered, not when it is logged. The queue has no limit: nothing is
/// dropped on overflow, and log never waits for room. Entries accepted while no worker runs wait
/// for startProcessing.
///
/// A sleeping worker is woken at once. One that has just delivered lets entries gather for about a
/// tenth of a millisecond (on Windows for up to a tick of its timer, some 16 ms) before it looks
/// again, so that a steady load does not wake it for each of them; flush and stopProcessing cut
/// that short.
///
/// Memory. Each call of log frees the oldest of the delivered entries that wait for that. Only
/// entries of up to about 2 KiB do, 1,024 of them at most; the worker frees all others at once, and
/// those as well when it has nothing to do. docs/platforms.md says how a process shrinks after a
/// burst.
///
/// Stopping: stopProcessing, and so the destructor, refuses further entries, delivers what is
/// queued, flushes the sinks and joins the worker. Destroy a handler before the end of `main` and
/// never on its own worker thread.
///
/// What is not promised. The queue is memory: what has not been delivered when the process dies is
/// lost. A handler that is destroyed without a worker drops what it still holds. A sink that throws
/// ends the worker: the entry at hand and the rest of the batch taken with it are lost, nothing is
/// reported, log goes on returning true, and entries pile up until a new startProcessing (or
/// stopProcessing and startProcessing) delivers them.
///
/// Errors: log and flush throw `std::logic_error` when a sink calls them on the worker thread.
///
/// Threads: log, flush, installSink and removeSink from any thread. startProcessing, stopProcessing
/// and the destructor belong to the owner, who calls them one at a time.
///
/// Ownership: the handler shares its sinks and releases them, first to last, when it is destroyed.
class KORVEL_API SinkHandler : public Logger {
public:
    /// A handler that is already processing.
    SinkHandler();
    /// With false the handler holds all entries back until startProcessing, so that every sink can
    /// be in place before the first delivery.
    explicit SinkHandler(bool startThread);
    ~SinkHandler() override;

    using Logger::log;

    /// Queues one entry. False, on any thread and without an exception, while the handler is
    /// stopped. On the worker thread: `std::logic_error` "Calling log() from inside the logger
    /// thread is forbidden".
    bool log(const std::wstring& type, Message message) override;

    /// Returns after everything accepted before the call has been delivered and all sinks have been
    /// flushed since. Without a worker it returns at once and does nothing, and it also returns,
    /// without an error, when the worker ends meanwhile. Concurrent calls share a pass over the
    /// sinks that begins after all of them.
    ///
    /// The sinks are flushed once the queue is empty. Under a load that never lets it run empty,
    /// they are flushed between two batches about a second after the call, or later if the entries
    /// before the call take longer.
    ///
    /// On the worker thread: `std::logic_error` "Calling flush() from inside the logger thread is
    /// forbidden". The same comes out of removeSink and stopProcessing there.
    void flush() override;

    /// Adds `sink` behind the others. False for a null pointer and for a sink that is already
    /// installed. Waits while a sink is at work, but not for the rest of a batch.
    bool installSink(std::shared_ptr<Sink> sink);

    /// Flushes the handler, then takes `sink` out; so with a worker the sink still receives what
    /// was accepted before. False for a null pointer (without the flush) and for a sink that is not
    /// installed.
    bool removeSink(const std::shared_ptr<Sink>& sink);

    /// Starts the worker; no effect while one runs. A worker that a throwing sink has ended is
    /// replaced. If the system refuses a thread the call returns normally and the handler is
    /// stopped: log returns false.
    void startProcessing();

    /// Drains the queue, flushes the sinks and ends the worker. Without a worker the queue keeps
    /// its entries for a later startProcessing.
    void stopProcessing();

private:
    std::unique_ptr<Pipeline> pipeline_;
};

}  // namespace Korvel
