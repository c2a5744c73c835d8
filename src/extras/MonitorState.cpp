// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "extras/MonitorState.h"

#include "extras/TakeOver.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace Korvel::Extras {
namespace {

MonitorOptions withinLimits(MonitorOptions options) {
    options.interval = (std::min)(options.interval, MonitorState::LONGEST);
    options.restartPause = (std::min)(options.restartPause, MonitorState::LONGEST);
    return options;
}

}  // namespace

MonitorState::MonitorState(std::shared_ptr<SinkHandler> handler, MonitorOptions options)
    : handler_(std::move(handler)), options_(withinLimits(std::move(options))) {
    if (handler_ == nullptr) throw std::invalid_argument("Monitor needs a handler");
    handler_->installSink(std::make_shared<CountingSink>(counts_));
    flushSinks();
    workerBefore_ = counts_->worker();
    if (options_.interval.count() > 0) {
        watcher_ = std::thread(&MonitorState::watch, this);
    }
}

MonitorState::~MonitorState() {
    stopWatching();
}

bool MonitorState::log(const std::wstring& type, Message& message, Place place) try {
    const bool isAccepted = pass(type, message, place);
    if (!isAccepted) counts_->refuse();
    return isAccepted;
} catch (...) {
    counts_->refuse();
    throw;
}

bool MonitorState::pass(const std::wstring& type, Message& message, Place place) try {
    const bool isAccepted = handler_->log(type, takeOver(message));
    if (isAccepted) {
        counts_->accept(place);
    } else {
        counts_->release(place);
    }
    return isAccepted;
} catch (...) {
    counts_->release(place);
    throw;
}

void MonitorState::flush() {
    const std::uint64_t accepted = counts_->read().accepted;
    if (!flushSinks()) return;
    const EntryCounts::Reading reading = counts_->read();
    if (accepted > reading.delivered + reading.lost) countLost();
}

MonitorSnapshot MonitorState::snapshot() {
    sample();
    const EntryCounts::Reading reading = counts_->read();
    counts_->raiseHighestWaiting(reading.waiting);
    MonitorSnapshot snapshot;
    snapshot.accepted = reading.accepted;
    snapshot.refused = counts_->refused();
    snapshot.delivered = reading.delivered;
    snapshot.lost = reading.lost;
    snapshot.waiting = reading.waiting;
    snapshot.highestWaiting = counts_->highestWaiting();
    snapshot.restarts = restarts_;
    snapshot.workerAlive = counts_->isAlive();
    for (const auto& [name, count] : options_.failed) snapshot.failed[name] = count();
    const std::lock_guard<std::mutex> lock(samplesMutex_);
    if (reading.waiting > 0) {
        snapshot.oldestWaiting =
            std::chrono::duration_cast<std::chrono::milliseconds>(age_.oldest(Clock::now()));
    }
    snapshot.lastDelivery = lastDelivery_;
    return snapshot;
}

void MonitorState::stopWatching() {
    {
        const std::lock_guard<std::mutex> lock(stopMutex_);
        mustStop_ = true;
    }
    stopSignal_.notify_all();
    const std::lock_guard<std::mutex> lock(joinMutex_);
    if (watcher_.joinable()) watcher_.join();
}

void MonitorState::addAction(const void* owner, std::function<void()> action) {
    const std::lock_guard<std::mutex> lock(actionsMutex_);
    actions_[owner] = std::move(action);
}

void MonitorState::removeAction(const void* owner) {
    const std::lock_guard<std::mutex> lock(actionsMutex_);
    actions_.erase(owner);
}

void MonitorState::watch() {
    std::unique_lock<std::mutex> lock(stopMutex_);
    while (!stopSignal_.wait_for(lock, options_.interval, [this] { return mustStop_; })) {
        lock.unlock();
        try {
            look();
        } catch (...) {
            // There is no memory: the next look will do.
        }
        lock.lock();
    }
}

void MonitorState::look() {
    sample();
    if (isSuspicious()) flush();
    restartWorker();
    runActions();
}

/// Whether there is something to find out by a flush. A worker that is not alive is asked again
/// each time, because the application may have started it; that costs nothing without a worker.
/// Entries of the previous worker may be lost until no entry waits: countLost finds too few of them
/// while others are delivered.
bool MonitorState::isSuspicious() {
    const EntryCounts::Reading reading = counts_->read();
    const bool isStuck = reading.waiting > 0 &&
                         std::exchange(deliveredBefore_, reading.delivered) == reading.delivered;
    const std::uint64_t worker = counts_->worker();
    if (std::exchange(workerBefore_, worker) != worker) mayHaveLost_ = true;
    if (reading.waiting == 0) mayHaveLost_ = false;
    return isStuck || mayHaveLost_ || !counts_->isAlive();
}

/// Returns whether there is a worker. With one, a flush calls all sinks before it returns.
bool MonitorState::flushSinks() {
    const std::uint64_t worker = counts_->worker();
    const std::uint64_t passes = counts_->passes();
    handler_->flush();
    if (counts_->passes() != passes) return true;
    counts_->loseWorker(worker);
    return false;
}

/// After a complete flush, what was accepted before it has been delivered or lost. So at least
/// accepted - delivered entries are lost: fewer than really are, if later ones were delivered
/// meanwhile, but never more.
///
/// The flush was complete if its worker went on: a flush that ends early has no worker, or one that
/// makes at most one more pass. Two more passes, and the same worker before and after, rule this
/// out.
void MonitorState::countLost() {
    const std::uint64_t worker = counts_->worker();
    const std::uint64_t accepted = counts_->read().accepted;
    if (!flushSinks()) return;
    const std::uint64_t delivered = counts_->read().delivered;
    if (!flushSinks() || !flushSinks() || counts_->worker() != worker) return;
    if (accepted > delivered) counts_->raiseLost(accepted - delivered);
}

void MonitorState::restartWorker() {
    const bool wasStarted = counts_->worker() != 0;
    if (!options_.restart || !wasStarted || counts_->isAlive()) return;
    const Clock::time_point now = Clock::now();
    if (counts_->read().waiting == 0 || now < nextRestart_) return;
    handler_->startProcessing();
    ++restarts_;
    nextRestart_ = now + options_.restartPause;
}

void MonitorState::runActions() {
    const std::lock_guard<std::mutex> lock(actionsMutex_);
    for (const auto& [owner, action] : actions_) action();
}

void MonitorState::sample() {
    const std::lock_guard<std::mutex> lock(samplesMutex_);
    const EntryCounts::Reading reading = counts_->read();
    age_.sample(Clock::now(), reading.accepted, reading.delivered + reading.lost);
    if (std::exchange(deliveredSampled_, reading.delivered) != reading.delivered) {
        lastDelivery_ = std::chrono::system_clock::now();
    }
}

}  // namespace Korvel::Extras
