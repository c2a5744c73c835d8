// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/Worker.h"

#include <cassert>
#include <cstddef>

namespace Korvel {

bool Worker::isCurrentThread() const noexcept {
    return id_.load() == std::this_thread::get_id();
}

bool Worker::start() noexcept {
    assert(!thread_.joinable());
    try {
        queue_.admitWorker();
        thread_ = std::thread(&Worker::run, this);
    } catch (...) {
        queue_.retireWorker();
        return false;
    }
    return true;
}

void Worker::join() {
    if (thread_.joinable()) thread_.join();
}

void Worker::run() noexcept {
    id_ = std::this_thread::get_id();
    try {
        work();
    } catch (...) {
        // A sink has thrown, and there is nobody to report to. Queued entries wait for the next
        // worker.
        batch_.clear();
    }
    queue_.retireWorker();
    id_ = std::thread::id();
}

void Worker::work() {
    for (;;) {
        switch (queue_.nextTask(batch_)) {
        case EntryQueue::Task::Deliver:
            deliverBatch();
            break;
        case EntryQueue::Task::FlushSinks:
            sinks_.flush();
            queue_.completeFlush();
            break;
        case EntryQueue::Task::LookAgain:
            break;
        case EntryQueue::Task::End:
            return;
        }
    }
}

/// Recycles the entries in groups, which saves locking. Large entries are destroyed immediately.
void Worker::deliverBatch() {
    constexpr std::ptrdiff_t MAX_GROUP = 64;
    auto group = batch_.begin();
    for (auto entry = group; entry != batch_.end();) {
        Message& current = *entry++;
        sinks_.append(current);
        if (!EntryQueue::isRecyclable(current)) current = Message();
        if (entry == batch_.end() || entry - group == MAX_GROUP) {
            queue_.recycle(group, entry);
            group = entry;
        }
    }
    batch_.clear();
}

}  // namespace Korvel
