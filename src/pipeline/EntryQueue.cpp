// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/EntryQueue.h"

#include "message/MessageAccess.h"

#include <array>
#include <cassert>
#include <cstddef>
#include <new>
#include <utility>

namespace Korvel {
namespace {

/// The longest sleep of an idle worker. Signals wake it, so this is only a safety net.
constexpr std::chrono::microseconds MAX_SLEEP = std::chrono::milliseconds(50);

/// How long the worker lets entries gather after a delivery. Waking a sleeping thread costs the
/// caller ten times as much as an entry; under a steady load this avoids that cost.
constexpr std::chrono::microseconds NAP(100);

/// How long entries take precedence over a flush if the queue never becomes empty.
constexpr std::chrono::seconds MAX_FLUSH_DELAY(1);

/// Several times the size of a usual entry, and small enough to destroy in about the time of a log
/// call. With the capacity of the ring it limits the recycled entries of a handler to 4 MiB.
constexpr std::size_t MAX_RECYCLABLE = 4096;

/// Makes the allocator request many pages from the system at once. Called for every entry that
/// finds no delivered one to recycle, because the process may then be growing. For most threads
/// glibc requests pages one by one, each with a system call under a lock that all threads share.
void growHeap() noexcept {
    constexpr unsigned ENTRIES = 64;
    // About the size of that many entries, and small enough for glibc to keep after it is freed.
    constexpr std::size_t SIZE = ENTRIES * std::size_t{960};
    thread_local unsigned entries = 0;
    if (++entries % ENTRIES == 0) ::operator delete(::operator new(SIZE, std::nothrow));
}

}  // namespace

void EntryQueue::push(Message&& entry) {
    Message recycled;  // Destroyed after the lock is released.
    bool mustWake = false;
    {
        const auto queueLock = lock();
        entries_.emplace_back() = std::move(entry);
        if (!recycled_.isEmpty()) recycled_.pop(recycled);
        mustWake = std::exchange(workerSleeps_, false);
    }
    if (mustWake) workerSignal_.notify_all();
    if (recycled.isNull()) growHeap();
}

void EntryQueue::flush() {
    std::unique_lock<std::mutex> queueLock(mutex_);
    if (!hasWorker_) return;
    if (flushesRequested_ == flushesCompleted_) {
        flushDeadline_ = std::chrono::steady_clock::now() + MAX_FLUSH_DELAY;
    }
    const std::uint64_t request = ++flushesRequested_;
    workerSignal_.notify_all();
    flushSignal_.wait(queueLock, [&] { return flushesCompleted_ >= request; });
}

void EntryQueue::admitWorker() {
    const std::lock_guard<std::mutex> queueLock(mutex_);
    recycled_.allocate();
    hasWorker_ = true;
}

void EntryQueue::dismissWorker() {
    {
        const std::lock_guard<std::mutex> queueLock(mutex_);
        hasWorker_ = false;
    }
    workerSignal_.notify_all();
}

void EntryQueue::discardRecycled() noexcept {
    while (discardSomeRecycled()) continue;
}

EntryQueue::Task EntryQueue::nextTask(Entries& batch) {
    assert(batch.empty());
    std::unique_lock<std::mutex> queueLock(mutex_);
    if (!hasWorker_) return Task::End;
    if (!entries_.empty() && !isFlushOverdue()) {
        batch.swap(entries_);
        flushesDue_ = flushesRequested_;
        isIdle_ = false;
        return Task::Deliver;
    }
    if (entries_.empty()) flushesDue_ = flushesRequested_;
    if (flushesCompleted_ != flushesDue_) return Task::FlushSinks;
    if (isIdle_ && !recycled_.isEmpty()) {
        queueLock.unlock();
        discardSomeRecycled();
    } else {
        sleep(queueLock);
    }
    return Task::LookAgain;
}

void EntryQueue::completeFlush() {
    {
        const std::lock_guard<std::mutex> queueLock(mutex_);
        assert(flushesCompleted_ < flushesDue_ && flushesDue_ <= flushesRequested_);
        flushesCompleted_ = flushesDue_;
        flushDeadline_ = std::chrono::steady_clock::now() + MAX_FLUSH_DELAY;
    }
    flushSignal_.notify_all();
}

bool EntryQueue::isRecyclable(const Message& entry) noexcept {
    return MessageAccess::footprint(entry, MAX_RECYCLABLE) < MAX_RECYCLABLE;
}

void EntryQueue::recycle(Entries::iterator begin, Entries::iterator end) noexcept {
    {
        const auto queueLock = lock();
        for (; begin != end && !recycled_.isFull(); ++begin) {
            if (!begin->isNull()) recycled_.push(std::move(*begin));
        }
    }
    for (; begin != end; ++begin) *begin = Message();
}

void EntryQueue::retireWorker() noexcept {
    {
        const std::lock_guard<std::mutex> queueLock(mutex_);
        hasWorker_ = false;
        flushesDue_ = flushesRequested_;
        flushesCompleted_ = flushesRequested_;
    }
    flushSignal_.notify_all();
}

/// The lock is held so briefly that spinning is cheaper than sleeping.
std::unique_lock<std::mutex> EntryQueue::lock() {
    constexpr int MAX_SPINS = 50;
    for (int i = 0; i < MAX_SPINS; ++i) {
        std::unique_lock<std::mutex> queueLock(mutex_, std::try_to_lock);
        if (queueLock.owns_lock()) return queueLock;
    }
    return std::unique_lock<std::mutex>(mutex_);
}

/// Entries take precedence, so the sinks are flushed when the queue is empty. But if callers log
/// faster than the sinks can write, a flush must still return.
bool EntryQueue::isFlushOverdue() const {
    return flushesCompleted_ != flushesDue_ && std::chrono::steady_clock::now() >= flushDeadline_;
}

/// The first sleep after a delivery is a nap, which new entries do not interrupt: only a flush or
/// the dismissal of the worker does.
void EntryQueue::sleep(std::unique_lock<std::mutex>& queueLock) {
    workerSleeps_ = isIdle_;
    workerSignal_.wait_for(queueLock, isIdle_ ? MAX_SLEEP : NAP);
    workerSleeps_ = false;
    isIdle_ = true;
}

/// Destroys a limited number, to hold the lock only briefly. Returns whether there were any.
bool EntryQueue::discardSomeRecycled() noexcept {
    std::array<Message, 64> some;  // Destroyed after the lock is released.
    const std::lock_guard<std::mutex> queueLock(mutex_);
    const bool hadAny = !recycled_.isEmpty();
    for (Message& entry : some) {
        if (!recycled_.isEmpty()) recycled_.pop(entry);
    }
    return hadAny;
}

}  // namespace Korvel
