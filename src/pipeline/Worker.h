// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "pipeline/EntryQueue.h"
#include "pipeline/SinkList.h"

#include <atomic>
#include <thread>

namespace Korvel {

/// The thread that delivers the entries of a queue to sinks. It never holds both their locks.
class Worker {
public:
    Worker(EntryQueue& queue, SinkList& sinks) : queue_(queue), sinks_(sinks) {}

    /// Whether the caller runs on the worker thread. May be called by any thread.
    bool isCurrentThread() const noexcept;

    // Called by the owner of the handler.

    /// Starts the thread, which must not exist yet. Returns false if the system refuses it.
    bool start() noexcept;
    /// Joins the thread, if there is one. It must already have been told to end.
    void join();

private:
    void run() noexcept;
    void work();
    void deliverBatch();

    // Constant after construction.

    EntryQueue& queue_;
    SinkList& sinks_;

    // Used only by the owner.

    std::thread thread_;

    // Written by the worker, read by any thread.

    /// The default id while the thread does not run, because the system may reuse its id for
    /// another thread.
    std::atomic<std::thread::id> id_ = std::thread::id();

    // Used only by the worker.

    EntryQueue::Entries batch_;
};

}  // namespace Korvel
