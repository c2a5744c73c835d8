#include <Korvel/SinkHandler.h>

#include "message/MessageAccess.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <stdexcept>
#include <utility>

namespace Korvel {
namespace {

/// The longest sleep of an idle worker. Every signal reaches it, so this is a safety net only.
constexpr std::chrono::milliseconds LONGEST_WAIT(50);

/// How long the worker lets entries gather once it has delivered some. To wake a sleeping thread
/// costs the caller ten times what an entry costs, and under a steady load this spares it.
constexpr std::chrono::microseconds NAP(100);

const std::thread::id NO_THREAD;

/// Called for every entry for which a thread has no delivered one to destroy, so that the process
/// may grow. It lets the allocator take many pages from the system at once. glibc would take them
/// one by one for most threads, each with a system call under a lock that all threads share.
void growAtOnce() noexcept {
    constexpr unsigned ENTRIES = 64;
    // About what so many entries need, and little enough for glibc to keep it once it is freed.
    constexpr std::size_t SIZE = ENTRIES * std::size_t{960};
    thread_local unsigned entries = 0;
    if (++entries % ENTRIES == 0) ::operator delete(::operator new(SIZE, std::nothrow));
}

}  // namespace

SinkHandler::SinkHandler() : SinkHandler(true) {}

SinkHandler::SinkHandler(bool startThread) {
    if (startThread) startProcessing();
}

SinkHandler::~SinkHandler() {
    stopProcessing();
    queue_.clear();
    // By hand, because a vector may destroy its elements in any order.
    for (auto& sink : sinks_) sink.reset();
}

bool SinkHandler::log(const std::wstring& type, Message message) {
    if (!accepting_) return false;
    if (onWorkerThread()) {
        throw std::logic_error("Calling log() from inside the logger thread is forbidden");
    }
    wrapPayload(message);
    message[L"message"] = Message(type);
    bool mustWake = false;
    // Destroyed here, without a lock: what this thread frees it allocates again for its next entry,
    // while memory that the worker freed would come back through the allocator's own lock.
    Message delivered;
    {
        const auto queueLock = lockQueue();
        queue_.emplace_back() = std::move(message);
        if (!delivered_.empty()) {
            delivered = std::move(delivered_.back());
            delivered_.pop_back();
        }
        mustWake = std::exchange(workerSleeps_, false);
    }
    if (mustWake) queueSignal_.notify_all();
    if (delivered.isNull()) growAtOnce();
    return true;
}

void SinkHandler::flush() {
    if (!running_ || workerId_.load() == NO_THREAD) return;
    if (onWorkerThread()) {
        throw std::logic_error("Calling flush() from inside the logger thread is forbidden");
    }
    std::unique_lock<std::mutex> queueLock(queueMutex_);
    // A worker clears `running_` before it answers for the last time, with this lock. So if
    // `running_` is still set here, an answer will come; if not, nobody may be left to give one.
    if (!running_) return;
    flushRequested_ = true;
    queueSignal_.notify_all();
    const std::uint64_t answers = flushAnswers_;
    flushSignal_.wait(queueLock, [&] { return flushAnswers_ != answers; });
}

bool SinkHandler::installSink(std::shared_ptr<Sink> sink) {
    if (sink == nullptr) return false;
    const auto guard = lockSinks();
    if (std::find(sinks_.begin(), sinks_.end(), sink) != sinks_.end()) return false;
    sinks_.push_back(std::move(sink));
    return true;
}

bool SinkHandler::removeSink(const std::shared_ptr<Sink>& sink) {
    if (sink == nullptr) return false;
    flush();
    const auto guard = lockSinks();
    const auto position = std::find(sinks_.begin(), sinks_.end(), sink);
    if (position == sinks_.end()) return false;
    sinks_.erase(position);
    return true;
}

void SinkHandler::startProcessing() {
    if (running_) return;
    collectWorker();
    accepting_ = true;
    running_ = true;
    try {
        workerThread_ = std::thread(&SinkHandler::processQueue, this);
        workerId_ = workerThread_.get_id();
    } catch (...) {
        accepting_ = false;
        running_ = false;
        answerFlush();
    }
}

void SinkHandler::stopProcessing() {
    accepting_ = false;
    flush();
    running_ = false;
    wakeWorker();
    collectWorker();
    const std::lock_guard<std::mutex> queueLock(queueMutex_);
    delivered_.clear();
}

bool SinkHandler::onWorkerThread() const noexcept {
    return workerId_.load() == std::this_thread::get_id();
}

/// Joins the worker, if there is one, which must be on its way out. Its id goes first: once it is
/// joined the system may give the same id to a thread of the application.
void SinkHandler::collectWorker() {
    if (!workerThread_.joinable()) return;
    workerId_ = NO_THREAD;
    workerThread_.join();
}

/// Signals a change of a flag. Passing through the queue's lock puts the signal behind a worker
/// that has looked at the flag and is about to sleep; without it such a signal would be lost.
void SinkHandler::wakeWorker() {
    std::unique_lock<std::mutex>(queueMutex_).unlock();
    queueSignal_.notify_all();
}

/// Lets every flush return that is waiting now.
void SinkHandler::answerFlush() {
    {
        const std::lock_guard<std::mutex> queueLock(queueMutex_);
        flushRequested_ = false;
        ++flushAnswers_;
    }
    flushSignal_.notify_all();
}

void SinkHandler::processQueue() noexcept {
    // The starter stores the same id, but perhaps not before the first delivery.
    workerId_ = std::this_thread::get_id();
    try {
        Entries batch;
        bool isIdle = true;
        while (running_) {
            std::unique_lock<std::mutex> queueLock(queueMutex_);
            if (!queue_.empty()) {
                batch.swap(queue_);
                queueLock.unlock();
                deliver(batch);
                isIdle = false;
            } else if (flushRequested_) {
                queueLock.unlock();
                flushSinks();
                answerFlush();
            } else if (isIdle && !delivered_.empty()) {
                batch.swap(delivered_);
                queueLock.unlock();
                batch.clear();
            } else if (running_) {  // Looked at again with the lock, as wakeWorker expects.
                sleep(queueLock, isIdle);
                isIdle = true;
            }
        }
    } catch (...) {
        // There is nobody to tell: the worker ends, and what is still queued waits for the next
        // one.
    }
    running_ = false;
    answerFlush();
}

/// The first sleep after a delivery is a nap, which ends by itself: only flush and stopProcessing
/// break it.
void SinkHandler::sleep(std::unique_lock<std::mutex>& queueLock, bool isIdle) {
    workerSleeps_ = isIdle;
    if (isIdle) {
        queueSignal_.wait_for(queueLock, LONGEST_WAIT);
    } else {
        queueSignal_.wait_for(queueLock, NAP);
    }
    workerSleeps_ = false;
}

void SinkHandler::deliver(Entries& batch) {
    constexpr std::ptrdiff_t GROUP = 64;
    auto delivered = batch.begin();
    for (auto entry = batch.begin(); entry != batch.end();) {
        const Message& current = *entry++;
        // The thread that logged it wrote it on another processor.
        if (entry != batch.end()) MessageAccess::prefetch(*entry);
        {
            const auto sinksLock = lockSinksForWorker();
            for (const auto& sink : sinks_) sink->append(current);
        }
        if (entry == batch.end() || entry - delivered == GROUP) {
            handBack(delivered, entry);
            delivered = entry;
        }
    }
    batch.clear();
}

/// Leaves delivered entries to the threads that log, each of which destroys one for one that it
/// adds. What is more than they need soon, and what they leave, the worker destroys.
void SinkHandler::handBack(Entries::iterator begin, Entries::iterator end) {
    constexpr std::size_t MOST = 1024;
    {
        const auto queueLock = lockQueue();
        if (delivered_.size() < MOST) {
            for (auto entry = begin; entry != end; ++entry) {
                delivered_.emplace_back() = std::move(*entry);
            }
            return;
        }
    }
    for (auto entry = begin; entry != end; ++entry) *entry = Message();
}

void SinkHandler::flushSinks() {
    const auto guard = lockSinksForWorker();
    for (const auto& sink : sinks_) sink->flush();
}

/// The lock is held for so short a time that it is cheaper to try again than to sleep for it.
std::unique_lock<std::mutex> SinkHandler::lockQueue() {
    constexpr int TRIES = 50;
    for (int i = 0; i < TRIES; ++i) {
        std::unique_lock<std::mutex> queueLock(queueMutex_, std::try_to_lock);
        if (queueLock.owns_lock()) return queueLock;
    }
    return std::unique_lock<std::mutex>(queueMutex_);
}

std::unique_lock<std::mutex> SinkHandler::lockSinks() {
    ++sinksWanted_;
    const std::lock_guard<std::mutex> turn(sinksTurn_);
    std::unique_lock<std::mutex> sinksLock(sinksMutex_);
    --sinksWanted_;
    return sinksLock;
}

std::unique_lock<std::mutex> SinkHandler::lockSinksForWorker() {
    if (sinksWanted_ > 0) {
        const std::lock_guard<std::mutex> turn(sinksTurn_);
    }
    return std::unique_lock<std::mutex>(sinksMutex_);
}

}  // namespace Korvel
