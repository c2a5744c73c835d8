// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Monitor.h>
#include <Korvel/Logger.h>
#include <Korvel/Sink.h>
#include <Korvel/SinkHandler.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Korvel::Extras {

/// Refuses entries once it is closed. A SinkHandler can lose what another thread logs at the moment
/// when it is stopped; closing the gate before waits for such calls.
class Gate : public Logger {
public:
    explicit Gate(std::shared_ptr<Logger> logger);
    ~Gate() override;

    using Logger::log;
    bool log(const std::wstring& type, Message message) override;
    void flush() override;

    void close();

private:
    static constexpr std::uint64_t CLOSED = 1;
    static constexpr std::uint64_t CALL = 2;

    const std::shared_ptr<Logger> logger_;
    /// CALL for each call of log in progress, and CLOSED.
    std::atomic<std::uint64_t> calls_ = 0;
};

/// What the end of a Logging takes apart, on a thread of its own that may be left behind with it.
class LoggingParts {
public:
    std::shared_ptr<SinkHandler> handler = std::make_shared<SinkHandler>(false);
    std::vector<std::shared_ptr<Sink>> sinks;
    std::shared_ptr<Monitor> monitor;
    /// The ceiling, or the monitor if there is none.
    std::shared_ptr<Logger> limiter;
    /// In front of the limiter.
    std::shared_ptr<Gate> gate;

    void end() noexcept;
    /// Returns whether end has been completed within the limit.
    bool waitForEnd(std::chrono::milliseconds limit);

private:
    std::mutex mutex_;
    std::condition_variable signal_;
    bool hasEnded_ = false;
};

}  // namespace Korvel::Extras
