// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Export.h>
#include <Korvel/Logger.h>
#include <Korvel/Sink.h>

#include <memory>
#include <string>

namespace Korvel {

class Pipeline;

/// The Logger at the end of every chain. It queues entries and delivers them to its sinks on its
/// own worker thread, so a thread that logs never waits for a destination.
///
/// An entry is a Map with the keys of a Map payload (or "messageData" with a payload that is
/// neither a Map nor Null), and "message" with the type name, which overwrites a "message" in the
/// payload.
///
/// Every sink receives each entry once, in queue order. Sinks are called in install order, and all
/// of them receive an entry before any receives the next. An entry goes to the sinks that are
/// installed when it is delivered, not when it is logged. The queue is unbounded: nothing is
/// dropped on overflow, and log never waits for space. Entries accepted while no worker runs wait
/// for startProcessing.
///
/// Latency: a sleeping worker is woken immediately. After a delivery it lets entries gather for
/// about 0.1 ms (on Windows for up to one timer tick, about 16 ms) before it checks the queue
/// again, so a steady load does not wake it for each entry. flush and stopProcessing interrupt this
/// wait.
///
/// Memory: delivered entries of up to about 4 KiB, at most 1,024 of them, wait for later calls of
/// log, each of which frees the oldest. The worker frees all others immediately, and the waiting
/// ones when it is idle. docs/platforms.md describes how a process shrinks after a burst.
///
/// Stopping: stopProcessing, and therefore the destructor, refuses further entries, delivers the
/// queued ones, flushes the sinks and joins the worker. Destroy a handler before the end of `main`
/// and never on its own worker thread.
///
/// Not promised: the queue is in memory, so undelivered entries are lost when the process dies. A
/// handler destroyed without a worker drops its queued entries. A sink that throws ends the worker:
/// the current entry and the rest of its batch are lost, nothing is reported, log still returns
/// true, and entries accumulate until a new startProcessing (or stopProcessing and startProcessing)
/// delivers them. An entry that another thread logs just as stopProcessing begins can be accepted
/// and miss the last delivery: it stays in the queue for a later startProcessing.
///
/// Errors: log and flush throw `std::logic_error` if a sink calls them on the worker thread.
///
/// Threads: log, flush, installSink and removeSink may be called from any thread. startProcessing,
/// stopProcessing and the destructor are for the owner, who calls them one at a time.
///
/// Ownership: the handler shares its sinks and releases them in install order when it is destroyed.
class KORVEL_API SinkHandler : public Logger {
public:
    /// Starts processing immediately.
    SinkHandler();
    /// With false, the handler holds all entries until startProcessing, so every sink can be
    /// installed before the first delivery.
    explicit SinkHandler(bool startThread);
    ~SinkHandler() override;

    using Logger::log;

    /// Queues one entry. Returns false, on any thread and without an exception, while the handler
    /// is stopped. Otherwise throws `std::logic_error` "Calling log() from inside the logger thread
    /// is forbidden" on the worker thread.
    bool log(const std::wstring& type, Message message) override;

    /// Returns once everything accepted before the call has been delivered and all sinks have then
    /// been flushed. Without a worker it does nothing; if the worker ends meanwhile, it returns
    /// without an error. Concurrent calls share one pass over the sinks that starts after all of
    /// them.
    ///
    /// The sinks are flushed once the queue is empty. Under a load that never lets it become empty,
    /// they are flushed between two batches about a second after the call, or later if the entries
    /// before the call take longer.
    ///
    /// Throws `std::logic_error` "Calling flush() from inside the logger thread is forbidden" on
    /// the worker thread. removeSink and stopProcessing throw the same there.
    void flush() override;

    /// Adds `sink` after the others. Returns false for a null pointer and for a sink that is
    /// already installed. Waits for a running sink call, but not for the rest of a batch.
    bool installSink(std::shared_ptr<Sink> sink);

    /// Flushes the handler, then removes `sink`, so with a worker the sink still receives all
    /// entries accepted before the call. Returns false for a null pointer (without the flush) and
    /// for a sink that is not installed.
    bool removeSink(const std::shared_ptr<Sink>& sink);

    /// Starts the worker; has no effect while one runs. Replaces a worker that a throwing sink has
    /// ended. If the system refuses a thread, the call returns normally and the handler is stopped:
    /// log returns false.
    void startProcessing();

    /// Drains the queue, flushes the sinks and ends the worker. Without a worker the queue keeps
    /// its entries for a later startProcessing.
    void stopProcessing();

private:
    std::unique_ptr<Pipeline> pipeline_;
};

}  // namespace Korvel
