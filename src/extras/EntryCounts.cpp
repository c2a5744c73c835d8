// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "extras/EntryCounts.h"

#include <utility>

namespace Korvel::Extras {
namespace {

/// The most deliveries between two looks of the worker at what other threads write.
constexpr std::uint64_t MAX_DELIVERIES = 64;

/// How long a thread that waits for a place sleeps at most. The worker looks for waiting threads
/// without a fence and not at every delivery, so it can miss one.
constexpr std::chrono::milliseconds MAX_SLEEP(5);

/// Unlike a `std::thread::id`, no later thread gets the same number, but a greater one.
std::uint64_t threadNumber() noexcept {
    static std::atomic<std::uint64_t> last = 0;
    thread_local std::uint64_t number = 0;
    if (number == 0) number = ++last;
    return number;
}

void raise(std::atomic<std::uint64_t>& value, std::uint64_t least) noexcept {
    std::uint64_t current = value.load(std::memory_order_relaxed);
    while (current < least &&
           !value.compare_exchange_weak(current, least, std::memory_order_release,
                                        std::memory_order_relaxed)) {}
}

std::uint64_t positiveDifference(std::uint64_t left, std::uint64_t right) noexcept {
    return left > right ? left - right : 0;
}

}  // namespace

void EntryCounts::release(Place place) noexcept {
    if (place == Place::None) return;
    calls_.fetch_sub(static_cast<std::uint64_t>(place), std::memory_order_release);
    if (waiters_.load(std::memory_order_relaxed) > 0) wakeWaiters();
}

/// The limit is exact: what was delivered had its place or its entry in the word that the exchange
/// then finds unchanged, so entries in flight are never counted too low.
bool EntryCounts::reserve(std::uint64_t limit) noexcept {
    std::uint64_t calls = calls_.load(std::memory_order_acquire);
    do {
        if (inFlight(calls) >= limit || (calls & MAX_PLACES) == MAX_PLACES) return false;
    } while (!calls_.compare_exchange_weak(calls, calls + 1, std::memory_order_acq_rel,
                                           std::memory_order_acquire));
    return true;
}

bool EntryCounts::waitForPlace(std::uint64_t limit, Clock::time_point end) {
    if (worker() == threadNumber()) return false;
    ++waiters_;
    std::unique_lock<std::mutex> lock(waitersMutex_);
    bool isReserved = reserve(limit);
    while (!isReserved && isAlive()) {
        const auto now = Clock::now();
        if (now >= end) break;
        room_.wait_until(lock, (std::min)(end, now + MAX_SLEEP));
        isReserved = reserve(limit);
    }
    --waiters_;
    return isReserved;
}

void EntryCounts::completePass() noexcept {
    noticeWorker();
    passes_.store(passes_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
}

EntryCounts::Reading EntryCounts::read() const noexcept {
    // Accepted first: otherwise all that is accepted during this call would seem to wait.
    const std::uint64_t counted = accepted();
    const std::uint64_t delivered = delivered_.load(std::memory_order_acquire);
    const std::uint64_t lost = lost_.load(std::memory_order_acquire);
    const std::uint64_t accepted = (std::max)(counted, delivered + lost);
    return {accepted, delivered, lost, accepted - delivered - lost};
}

std::uint64_t EntryCounts::highestWaiting() const noexcept {
    return highestWaiting_.load(std::memory_order_relaxed);
}

void EntryCounts::raiseHighestWaiting(std::uint64_t waiting) noexcept {
    raise(highestWaiting_, waiting);
}

void EntryCounts::loseWorker(std::uint64_t worker) noexcept {
    raise(deadWorker_, worker);
}

void EntryCounts::raiseLost(std::uint64_t lost) noexcept {
    // While they waited, the worker that lost them may not have looked.
    raiseHighestWaiting(read().waiting);
    raise(lost_, lost);
    wakeWaiters();
}

std::uint64_t EntryCounts::inFlight(std::uint64_t calls) const noexcept {
    const std::uint64_t delivered = delivered_.load(std::memory_order_acquire);
    const std::uint64_t lost = lost_.load(std::memory_order_acquire);
    return positiveDifference((calls >> PLACE_BITS) + (calls & MAX_PLACES), delivered + lost);
}

/// Entries wait until they are delivered, so most of them wait just before a delivery.
void EntryCounts::look(std::uint64_t delivered) noexcept {
    const std::uint64_t accepted = this->accepted();
    const std::uint64_t lost = lost_.load(std::memory_order_relaxed);
    // At least the one that was delivered, which is perhaps not yet counted as accepted.
    const std::uint64_t waited = positiveDifference(accepted, delivered - 1 + lost);
    raiseHighestWaiting((std::max)(waited, std::uint64_t{1}));
    const std::uint64_t known = positiveDifference(accepted, delivered);
    nextLook_ = delivered + std::clamp<std::uint64_t>(known, 1, MAX_DELIVERIES);
    noticeWorker();
    if (waiters_.load(std::memory_order_relaxed) > 0) wakeWaiters();
}

void EntryCounts::noticeWorker() noexcept {
    worker_.store(threadNumber(), std::memory_order_release);
}

void EntryCounts::wakeWaiters() noexcept {
    // The lock makes sure that a thread that found no place already sleeps.
    { const std::lock_guard<std::mutex> lock(waitersMutex_); }
    room_.notify_all();
}

CountingSink::CountingSink(std::shared_ptr<EntryCounts> counts) : counts_(std::move(counts)) {}

CountingSink::~CountingSink() = default;

void CountingSink::flush() {
    counts_->completePass();
}

void CountingSink::append(const Message& /*message*/) {
    counts_->deliver();
}

}  // namespace Korvel::Extras
