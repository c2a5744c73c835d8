#pragma once

#include <Korvel/Message.h>
#include <Korvel/Sink.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace Korvel {

/// The installed sinks, in install order. No sink is null, and none is there twice.
class SinkList {
public:
    SinkList() = default;
    SinkList(const SinkList&) = delete;
    SinkList& operator=(const SinkList&) = delete;
    /// Releases the sinks, first to last.
    ~SinkList();

    // Any thread, but not from inside a sink. They wait while a sink is at work, but at most for
    // one call of append or flush.

    /// False if `sink`, which must not be null, is already installed.
    bool install(std::shared_ptr<Sink> sink);
    /// False if `sink` is not installed.
    bool remove(const std::shared_ptr<Sink>& sink);

    // The worker.

    void append(const Message& entry);
    void flush();

private:
    std::unique_lock<std::mutex> lockInTurn();
    std::unique_lock<std::mutex> lockForWorker();

    /// Held by install and remove until they have `mutex_`. The worker passes through it if there
    /// are any, so that its next entry cannot overtake them.
    std::mutex turnMutex_;
    /// How many calls of install and remove wait for `mutex_`.
    std::atomic<unsigned> waiting_ = 0;

    /// Held while a sink is at work.
    std::mutex mutex_;

    // Guarded by mutex_.

    std::vector<std::shared_ptr<Sink>> sinks_;
};

}  // namespace Korvel
