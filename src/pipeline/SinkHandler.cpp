#include <Korvel/SinkHandler.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace Korvel {
namespace {

/// The longest sleep of an idle worker. Every signal reaches it, so this is a safety net only.
constexpr std::chrono::milliseconds LONGEST_WAIT(50);

const std::thread::id NO_THREAD;

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
    message.set(L"message", Message(type));
    bool wasEmpty = false;
    {
        const std::lock_guard<std::mutex> guard(queueMutex_);
        wasEmpty = queue_.empty();
        queue_.emplace_back() = std::move(message);
    }
    // The worker sleeps only after it has seen an empty queue, so later entries need no signal.
    if (wasEmpty) queueSignal_.notify_all();
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
        std::deque<Message> batch;
        while (running_) {
            std::unique_lock<std::mutex> queueLock(queueMutex_);
            if (!queue_.empty()) {
                batch.swap(queue_);
                queueLock.unlock();
                deliver(batch);
            } else if (flushRequested_) {
                queueLock.unlock();
                flushSinks();
                answerFlush();
            } else {
                queueSignal_.wait_for(queueLock, LONGEST_WAIT);
            }
        }
    } catch (...) {
        // There is nobody to tell: the worker ends, and what is still queued waits for the next
        // one.
    }
    running_ = false;
    answerFlush();
}

void SinkHandler::deliver(std::deque<Message>& batch) {
    while (!batch.empty()) {
        {
            const auto guard = lockSinks();
            for (const auto& sink : sinks_) sink->append(batch.front());
        }
        batch.pop_front();
    }
}

void SinkHandler::flushSinks() {
    const auto guard = lockSinks();
    for (const auto& sink : sinks_) sink->flush();
}

std::unique_lock<std::mutex> SinkHandler::lockSinks() {
    const std::lock_guard<std::mutex> turn(sinksTurn_);
    return std::unique_lock<std::mutex>(sinksMutex_);
}

}  // namespace Korvel
