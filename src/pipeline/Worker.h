#pragma once

#include "pipeline/EntryQueue.h"
#include "pipeline/SinkList.h"

#include <atomic>
#include <thread>

namespace Korvel {

/// The thread that delivers the entries of a queue to sinks. It never holds the locks of both.
class Worker {
public:
    Worker(EntryQueue& queue, SinkList& sinks) : queue_(queue), sinks_(sinks) {}

    /// Whether the caller runs on the worker thread. Any thread.
    bool isCurrentThread() const noexcept;

    // The owner of the handler.

    /// Starts the thread, which must not exist. False if the system refuses it.
    bool start() noexcept;
    /// Waits for the end of the thread, if there is one. Something else must have made it end.
    void join();

private:
    void run() noexcept;
    void work();
    void deliverBatch();

    // Constant after construction.

    EntryQueue& queue_;
    SinkList& sinks_;

    // Only for the owner.

    std::thread thread_;

    // Written by the worker, read by any thread.

    /// The empty id while the thread does not run: the system may give its id to another thread.
    std::atomic<std::thread::id> id_ = std::thread::id();

    // Only for the worker.

    EntryQueue::Entries batch_;
};

}  // namespace Korvel
