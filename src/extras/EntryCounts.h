// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Sink.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

namespace Korvel::Extras {

/// The counters of a Monitor, and the places that a BoundedLogger reserves.
///
/// Entries are counted as accepted after the handler has taken them, so an entry can be delivered
/// before it is counted. Whoever compares the counts has to allow for that.
class EntryCounts {
public:
    /// Whether a call of log holds a place that passes to its entry.
    enum class Place : std::uint64_t { None = 0, Held = 1 };
    using Clock = std::chrono::steady_clock;

    struct Reading {
        std::uint64_t accepted;
        std::uint64_t delivered;
        std::uint64_t lost;
        std::uint64_t waiting;
    };

    // Called by any thread that logs.

    void accept(Place place) noexcept {
        calls_.fetch_add(ENTRY - static_cast<std::uint64_t>(place), std::memory_order_release);
    }
    /// Returns the place of an entry that the handler has not taken.
    void release(Place place) noexcept;
    void refuse() noexcept { refused_.fetch_add(1, std::memory_order_relaxed); }
    /// Takes a place if fewer than `limit` entries and places are in flight.
    bool reserve(std::uint64_t limit) noexcept;
    /// Waits until reserve succeeds, but not after `end`, not without a worker, and not on its
    /// thread. The thread of a new worker is known from its 64th delivery on.
    bool waitForPlace(std::uint64_t limit, Clock::time_point end);

    // Called by the worker.

    void deliver() noexcept {
        const std::uint64_t delivered = delivered_.load(std::memory_order_relaxed) + 1;
        delivered_.store(delivered, std::memory_order_release);
        if (delivered >= nextLook_) look(delivered);
    }
    void completePass() noexcept;

    // Called by any thread.

    /// `waiting` is never more than what really waited when the call began.
    Reading read() const noexcept;
    /// Waiting entries and places.
    std::uint64_t inFlight() const noexcept {
        return inFlight(calls_.load(std::memory_order_acquire));
    }
    std::uint64_t refused() const noexcept { return refused_.load(std::memory_order_relaxed); }
    std::uint64_t passes() const noexcept { return passes_.load(std::memory_order_acquire); }
    /// The number of the last noticed worker, greater than that of each before it, or 0 before the
    /// first was noticed.
    std::uint64_t worker() const noexcept { return worker_.load(std::memory_order_acquire); }
    bool isAlive() const noexcept { return worker() > deadWorker_.load(std::memory_order_relaxed); }
    std::uint64_t highestWaiting() const noexcept;
    void raiseHighestWaiting(std::uint64_t waiting) noexcept;

    // Called by any thread that has flushed the handler.

    /// Notes that the worker of this number has ended. A newer one stays alive.
    void loseWorker(std::uint64_t worker) noexcept;
    /// Sets the number of lost entries to at least `lost`.
    void raiseLost(std::uint64_t lost) noexcept;

private:
    /// The low bits of `calls_` count the places held by calls in progress, the other 52 bits
    /// accepted entries, which suffices for a century at a million entries a second. Both are in
    /// one word because a place turns into an entry in one step.
    static constexpr unsigned PLACE_BITS = 12;
    static constexpr std::uint64_t ENTRY = std::uint64_t{1} << PLACE_BITS;
    static constexpr std::uint64_t MAX_PLACES = ENTRY - 1;
    static constexpr std::size_t CACHE_LINE = 64;

    std::uint64_t accepted() const noexcept {
        return calls_.load(std::memory_order_acquire) >> PLACE_BITS;
    }
    std::uint64_t inFlight(std::uint64_t calls) const noexcept;
    void look(std::uint64_t delivered) noexcept;
    void noticeWorker() noexcept;
    void wakeWaiters() noexcept;

    // Written by threads that log.

    alignas(CACHE_LINE) std::atomic<std::uint64_t> calls_ = 0;
    std::atomic<std::uint64_t> refused_ = 0;

    // Written by the worker.

    alignas(CACHE_LINE) std::atomic<std::uint64_t> delivered_ = 0;
    /// At this number of deliveries the worker reads what other threads write.
    std::uint64_t nextLook_ = 1;
    std::atomic<std::uint64_t> passes_ = 0;
    std::atomic<std::uint64_t> worker_ = 0;

    // Written rarely.

    alignas(CACHE_LINE) std::atomic<std::uint64_t> lost_ = 0;
    std::atomic<std::uint64_t> highestWaiting_ = 0;
    std::atomic<std::uint64_t> deadWorker_ = 0;
    std::atomic<unsigned> waiters_ = 0;
    std::mutex waitersMutex_;
    std::condition_variable room_;
};

/// Counts what a handler delivers. Belongs to one handler, which calls it on one thread at a time.
class CountingSink : public Sink {
public:
    explicit CountingSink(std::shared_ptr<EntryCounts> counts);
    ~CountingSink() override;

    void flush() override;
    void append(const Message& message) override;

private:
    const std::shared_ptr<EntryCounts> counts_;
};

}  // namespace Korvel::Extras
