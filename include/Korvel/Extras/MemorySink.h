// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Message.h>
#include <Korvel/Sink.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>

namespace Korvel::Extras {

/// A Sink that keeps the last entries in memory: for tests of code that logs, and to write out what
/// led to an error after it has occurred.
///
/// Entries are copies, oldest first. An entry above the capacity replaces the oldest one, which is
/// only counted.
///
/// Limits: the capacity counts entries, not bytes; a sink of capacity 0 keeps none.
///
/// Not promised: an entry that has been logged may still be in the queue of the SinkHandler. Flush
/// the handler first, or use waitFor.
///
/// Errors: append throws `std::bad_alloc` if there is no memory for the copy, and then the sink
/// keeps what it had. entries throws `std::range_error` for a type that is not UTF-8.
///
/// Threads: every operation may be called from any thread.
class KORVEL_EXTRAS_API MemorySink : public Sink {
public:
    /// The kept entries, oldest first.
    using Entries = std::deque<Message>;

    /// Keeps at most `capacity` entries.
    explicit MemorySink(std::size_t capacity);
    ~MemorySink() override;

    /// Does nothing: an entry is there when its append returns.
    void flush() override;
    void append(const Message& message) override;

    /// Copies of the kept entries.
    Entries entries();
    /// Copies of the kept entries whose key "message" is the text `type`.
    Entries entries(const std::string& type);
    /// Returns the kept entries and keeps none of them.
    Entries take();
    /// The number of entries that were replaced by later ones.
    std::uint64_t dropped();

    /// Waits until `predicate` accepts the kept entries, and returns whether it did within `limit`.
    /// It is called at once and after each append, under the lock of the sink, so it must not call
    /// the sink. Its exceptions propagate. A limit above a year is a year.
    bool waitFor(const std::function<bool(const Entries&)>& predicate,
                 std::chrono::milliseconds limit);

    /// Appends the entries that are kept at the call to `sink`, oldest first and unchanged, and
    /// keeps none of them, so a second dump does not repeat the first. Does not flush `sink`.
    /// Entries that arrive during the call stay, unless they have replaced some of those.
    ///
    /// An exception from `sink` propagates: the entry that caused it is lost, those after it stay.
    void dumpTo(Sink& sink);

private:
    const std::size_t capacity_;
    std::condition_variable arrived_;
    // Guarded by sinkLock.
    Entries entries_;
    std::uint64_t dropped_ = 0;
};

}  // namespace Korvel::Extras
