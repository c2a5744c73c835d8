// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/MemorySink.h>

#include <algorithm>
#include <utility>

namespace Korvel::Extras {
namespace {

/// A much longer wait would overflow the time type of the clock.
constexpr std::chrono::milliseconds MAX_WAIT = std::chrono::hours(24 * 365);

}  // namespace

MemorySink::MemorySink(std::size_t capacity) : capacity_(capacity) {}

MemorySink::~MemorySink() = default;

void MemorySink::flush() {
    // Nothing is buffered.
}

void MemorySink::append(const Message& message) {
    Message copy(message);
    const std::lock_guard<std::mutex> guard(sinkLock);
    entries_.emplace_back() = std::move(copy);
    if (entries_.size() > capacity_) {
        // Moved out, so that the oldest entry is freed after the lock.
        copy = std::move(entries_.front());
        entries_.pop_front();
        ++dropped_;
    }
    arrived_.notify_all();
}

MemorySink::Entries MemorySink::entries() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    return entries_;
}

MemorySink::Entries MemorySink::entries(const std::string& type) {
    const std::wstring wanted = Message::strToWstr(type);
    const std::lock_guard<std::mutex> guard(sinkLock);
    Entries found;
    for (const Message& entry : entries_) {
        if (!entry.isMap() || !entry.hasKey("message")) continue;
        const Message& name = entry.at("message");
        if (name.isString() && name.getWstring() == wanted) found.push_back(entry);
    }
    return found;
}

MemorySink::Entries MemorySink::take() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    return std::exchange(entries_, {});
}

std::uint64_t MemorySink::dropped() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    return dropped_;
}

bool MemorySink::waitFor(const std::function<bool(const Entries&)>& predicate,
                         std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> guard(sinkLock);
    return arrived_.wait_for(guard, std::clamp(limit, std::chrono::milliseconds::zero(), MAX_WAIT),
                             [&] { return predicate(entries_); });
}

void MemorySink::dumpTo(Sink& sink) {
    std::unique_lock<std::mutex> guard(sinkLock);
    // Counted beforehand: a dump into this very sink comes to an end.
    for (std::size_t left = entries_.size(); left > 0 && !entries_.empty(); --left) {
        Message entry;
        entry = std::move(entries_.front());
        entries_.pop_front();
        guard.unlock();
        sink.append(entry);
        guard.lock();
    }
}

}  // namespace Korvel::Extras
