// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "extras/EntryCounts.h"
#include "extras/WaitingAge.h"

#include <Korvel/Extras/Monitor.h>

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace Korvel::Extras {

/// A Monitor, with what BoundedLogger needs of it.
class MonitorState {
public:
    using Clock = std::chrono::steady_clock;
    using Place = EntryCounts::Place;
    /// Much longer times overflow when they are added to the time of a clock.
    static constexpr std::chrono::milliseconds LONGEST = std::chrono::hours(24 * 365);

    MonitorState(std::shared_ptr<SinkHandler> handler, MonitorOptions options);
    MonitorState(const MonitorState&) = delete;
    MonitorState& operator=(const MonitorState&) = delete;
    ~MonitorState();

    /// Logs and counts. Takes over `message`, and the place in any case.
    bool log(const std::wstring& type, Message& message, Place place);
    /// Does the same, but does not count a refusal.
    bool pass(const std::wstring& type, Message& message, Place place);
    void flush();
    MonitorSnapshot snapshot();
    void stopWatching();

    EntryCounts& counts() noexcept { return *counts_; }
    /// The watcher calls `action` each time after it has looked.
    void addAction(const void* owner, std::function<void()> action);
    /// Waits for a running call of the action.
    void removeAction(const void* owner);

private:
    void watch();
    void look();
    bool isSuspicious();
    bool flushSinks();
    void countLost();
    void restartWorker();
    void runActions();
    void sample();

    // Constant after construction.

    const std::shared_ptr<SinkHandler> handler_;
    const MonitorOptions options_;
    const std::shared_ptr<EntryCounts> counts_ = std::make_shared<EntryCounts>();

    // Used only by the watcher.

    std::uint64_t deliveredBefore_ = 0;
    std::uint64_t workerBefore_ = 0;
    bool mayHaveLost_ = false;
    Clock::time_point nextRestart_;

    // Written by the watcher.

    std::atomic<std::uint64_t> restarts_ = 0;

    // Guarded by samplesMutex_.

    std::mutex samplesMutex_;
    WaitingAge age_;
    std::uint64_t deliveredSampled_ = 0;
    std::optional<std::chrono::system_clock::time_point> lastDelivery_;

    // Guarded by actionsMutex_, which is held during the calls.

    std::mutex actionsMutex_;
    std::map<const void*, std::function<void()>> actions_;

    // Guarded by stopMutex_, except for the thread.

    std::mutex stopMutex_;
    std::condition_variable stopSignal_;
    bool mustStop_ = false;

    /// Held to join the thread.
    std::mutex joinMutex_;
    std::thread watcher_;
};

}  // namespace Korvel::Extras
