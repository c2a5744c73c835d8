// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "extras/LoggingParts.h"

#include "extras/TakeOver.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace Korvel::Extras {

Gate::Gate(std::shared_ptr<Logger> logger) : logger_(std::move(logger)) {}

Gate::~Gate() = default;

bool Gate::log(const std::wstring& type, Message message) {
    // Calls that come too late must not delay close.
    if ((calls_ & CLOSED) != 0) return false;
    struct Leaver {
        ~Leaver() { calls -= CALL; }
        std::atomic<std::uint64_t>& calls;
    };
    const bool isOpen = (calls_.fetch_add(CALL) & CLOSED) == 0;
    const Leaver leaver{calls_};
    return isOpen && logger_->log(type, takeOver(message));
}

void Gate::flush() {
    logger_->flush();
}

void Gate::close() {
    calls_ |= CLOSED;
    while (calls_ != CLOSED) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void LoggingParts::end() noexcept {
    gate->close();
    monitor->stopWatching();
    // Has an effect only if a sink without a guard has ended the worker.
    handler->startProcessing();
    try {
        limiter->flush();
    } catch (...) {
        // There is no memory for the note about refused entries.
    }
    handler->stopProcessing();
    for (const std::shared_ptr<Sink>& sink : sinks) handler->removeSink(sink);
    sinks.clear();
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        hasEnded_ = true;
    }
    signal_.notify_all();
}

bool LoggingParts::waitForEnd(std::chrono::milliseconds limit) {
    // Can be added to the time without an overflow.
    constexpr std::chrono::milliseconds MAX_LIMIT = std::chrono::hours(24 * 365);
    std::unique_lock<std::mutex> guard(mutex_);
    return signal_.wait_for(guard, (std::min)(limit, MAX_LIMIT), [this] { return hasEnded_; });
}

}  // namespace Korvel::Extras
