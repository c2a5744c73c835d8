// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/SinkList.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace Korvel {

SinkList::~SinkList() {
    // Released one by one, because a vector may destroy its elements in any order.
    for (auto& sink : sinks_) sink.reset();
}

bool SinkList::install(std::shared_ptr<Sink> sink) {
    assert(sink != nullptr);
    const auto sinksLock = lockInTurn();
    if (std::find(sinks_.begin(), sinks_.end(), sink) != sinks_.end()) return false;
    sinks_.push_back(std::move(sink));
    return true;
}

bool SinkList::remove(const std::shared_ptr<Sink>& sink) {
    const auto sinksLock = lockInTurn();
    const auto position = std::find(sinks_.begin(), sinks_.end(), sink);
    if (position == sinks_.end()) return false;
    sinks_.erase(position);
    return true;
}

void SinkList::append(const Message& entry) {
    const auto sinksLock = lockForWorker();
    for (const auto& sink : sinks_) sink->append(entry);
}

void SinkList::flush() {
    const auto sinksLock = lockForWorker();
    for (const auto& sink : sinks_) sink->flush();
}

std::unique_lock<std::mutex> SinkList::lockInTurn() {
    ++waiting_;
    const std::lock_guard<std::mutex> turn(turnMutex_);
    std::unique_lock<std::mutex> sinksLock(mutex_);
    --waiting_;
    return sinksLock;
}

std::unique_lock<std::mutex> SinkList::lockForWorker() {
    if (waiting_ > 0) {
        const std::lock_guard<std::mutex> turn(turnMutex_);
    }
    return std::unique_lock<std::mutex>(mutex_);
}

}  // namespace Korvel
