// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "pipeline/EntryRing.h"

#include <Korvel/Message.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>

namespace Korvel {

/// The state shared by logging threads, flushing threads and the worker: accepted entries, flush
/// requests, and delivered entries to be recycled by the logging threads.
///
/// Delivered entries are recycled because memory freed by the worker would return to the logging
/// threads through the allocator's lock. Each push destroys the oldest one, and the thread reuses
/// the freed memory for its next entry. docs/design.md follows an entry through the queue.
class EntryQueue {
public:
    using Entries = std::deque<Message>;

    /// The next task of the worker.
    enum class Task { Deliver, FlushSinks, LookAgain, End };

    // Called by any thread.

    /// Whether a worker takes entries and completes flushes, or is starting.
    bool hasWorker() const noexcept { return hasWorker_; }
    void push(Message&& entry);
    /// Returns when the worker has completed a flush that started after this call, or has ended.
    /// Must not be called on the worker thread.
    void flush();

    // Called by the owner of the handler.

    void admitWorker();
    /// Makes the worker end when it asks for its next task.
    void dismissWorker();
    /// Destroys the entries in the ring that no push has taken.
    void discardRecycled() noexcept;

    // Called by the worker.

    /// Sleeps if there is nothing to do. `batch` must be empty; for Deliver it receives all
    /// entries.
    Task nextTask(Entries& batch);
    void completeFlush();
    /// Whether an entry is small enough to be destroyed by a push.
    static bool isRecyclable(const Message& entry) noexcept;
    /// Takes over delivered entries, all recyclable or Null. Destroys those that do not fit into
    /// the ring.
    void recycle(Entries::iterator begin, Entries::iterator end) noexcept;
    /// The last call of a worker, however it ends, also made if it could not be started. Lets all
    /// flushes return.
    void retireWorker() noexcept;

private:
    std::unique_lock<std::mutex> lock();
    bool isFlushOverdue() const;
    void sleep(std::unique_lock<std::mutex>& queueLock);
    bool discardSomeRecycled() noexcept;

    std::mutex mutex_;
    std::condition_variable workerSignal_;
    std::condition_variable flushSignal_;

    // Written with mutex_ held, also read without it.

    std::atomic<bool> hasWorker_ = false;

    // Guarded by mutex_.

    Entries entries_;
    EntryRing recycled_;
    /// The worker needs a signal to notice an entry.
    bool workerSleeps_ = false;
    /// Flush requests are numbered: completed <= due <= requested. A request is due once everything
    /// accepted before it has been delivered or is in the worker's batch.
    std::uint64_t flushesRequested_ = 0;
    std::uint64_t flushesDue_ = 0;
    std::uint64_t flushesCompleted_ = 0;
    /// After this time a due flush precedes further entries.
    std::chrono::steady_clock::time_point flushDeadline_;

    // Used only by the worker.

    /// The worker has delivered nothing since its last sleep.
    bool isIdle_ = true;
};

}  // namespace Korvel
