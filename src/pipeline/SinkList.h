// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Message.h>
#include <Korvel/Sink.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace Korvel {

/// The installed sinks, in install order. No sink is null or listed twice.
class SinkList {
public:
    SinkList() = default;
    SinkList(const SinkList&) = delete;
    SinkList& operator=(const SinkList&) = delete;
    /// Releases the sinks in install order.
    ~SinkList();

    // Called by any thread, but not from inside a sink. Both wait for the worker, but at most for
    // one call of append or flush.

    /// False if `sink`, which must not be null, is already installed.
    bool install(std::shared_ptr<Sink> sink);
    /// False if `sink` is not installed.
    bool remove(const std::shared_ptr<Sink>& sink);

    // Called by the worker.

    void append(const Message& entry);
    void flush();

private:
    std::unique_lock<std::mutex> lockInTurn();
    std::unique_lock<std::mutex> lockForWorker();

    /// Held by install and remove until they have locked `mutex_`. If any are waiting, the worker
    /// locks and unlocks it first, so its next entry cannot overtake them.
    std::mutex turnMutex_;
    /// The number of install and remove calls that wait for `mutex_`.
    std::atomic<unsigned> waiting_ = 0;

    /// Held while the sinks are called.
    std::mutex mutex_;

    // Guarded by mutex_.

    std::vector<std::shared_ptr<Sink>> sinks_;
};

}  // namespace Korvel
