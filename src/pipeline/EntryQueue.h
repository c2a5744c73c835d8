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

/// What the threads that log, the threads that flush and the worker share: the accepted entries,
/// the flush requests, and delivered entries on their way back to the threads that log.
///
/// Delivered entries go back because memory that the worker freed would return to the threads that
/// log through the allocator's own lock. Each push destroys one of them, the oldest, and what that
/// frees the thread allocates again for its next entry.
class EntryQueue {
public:
    using Entries = std::deque<Message>;

    /// What the worker does next.
    enum class Task { Deliver, FlushSinks, LookAgain, End };

    // Any thread.

    /// Whether a worker takes entries and completes flushes, or is about to.
    bool hasWorker() const noexcept { return hasWorker_; }
    void push(Message&& entry);
    /// Returns when the worker has completed a flush that it began after this call, or has ended.
    /// Not for the worker thread.
    void flush();

    // The owner of the handler.

    void admitWorker();
    /// Makes the worker end as soon as it looks for its next task.
    void dismissWorker();
    /// Destroys the delivered entries that no push has taken.
    void discardRecycled() noexcept;

    // The worker.

    /// Sleeps if there is nothing to do. For Deliver, `batch` must be empty and takes all entries.
    Task nextTask(Entries& batch);
    void completeFlush();
    /// Whether an entry is small enough to be destroyed by a push.
    static bool isRecyclable(const Message& entry) noexcept;
    /// Takes over delivered entries, all recyclable or Null. Destroys those for which there is no
    /// room.
    void recycle(Entries::iterator begin, Entries::iterator end) noexcept;
    /// The last call of a worker, however it ends, or for one that could not be started. All
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

    // Changed with mutex_ held, read without it as well.

    std::atomic<bool> hasWorker_ = false;

    // Guarded by mutex_.

    Entries entries_;
    EntryRing recycled_;
    /// The worker needs a signal to see an entry.
    bool workerSleeps_ = false;
    /// Flush requests are numbered: completed <= due <= requested. A request is due once everything
    /// accepted before it has been delivered or is in the worker's batch.
    std::uint64_t flushesRequested_ = 0;
    std::uint64_t flushesDue_ = 0;
    std::uint64_t flushesCompleted_ = 0;
    /// From then on a flush that is due goes before further entries.
    std::chrono::steady_clock::time_point flushDeadline_;

    // Only for the worker.

    /// It has delivered nothing since its last sleep.
    bool isIdle_ = true;
};

}  // namespace Korvel
