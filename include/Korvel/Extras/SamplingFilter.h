// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Sink.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace Korvel::Extras {

/// The settings of a SamplingFilter.
struct SamplingFilterOptions {
    /// In each window the first `first` entries of a type pass, and of the rest every
    /// `thereafter`-th: with 3 and 10 the entries 1, 2, 3, 13, 23, 33 and so on. With `thereafter`
    /// 0 none of the rest pass, and with 1 all of them. With `first` 0 and `thereafter` 10, the
    /// entries 10, 20, 30 and so on pass.
    std::uint64_t first = 100;
    /// See `first`.
    std::uint64_t thereafter = 100;
    /// How long a window lasts. The next one begins with the first entry of the type after its end.
    std::chrono::nanoseconds window = std::chrono::seconds(1);
    /// The clock, for tests; empty means `std::chrono::steady_clock::now`.
    std::function<std::chrono::steady_clock::time_point()> clock;
};

/// A Sink that forwards to another Sink only a sample of frequent entries.
///
/// Entries are counted by type and severity. Entries of severity Error and above always pass,
/// uncounted, and so does a message that is not a Map. The next entry that passes after suppressed
/// ones is forwarded as a copy with their number, an Integer, at the key "suppressed", which
/// replaces such a key of the application. All other entries are forwarded uncopied.
///
/// flush and the destructor report the numbers that no entry has reported yet, in one entry of type
/// "EntriesSuppressed":
///
///     {"message":"EntriesSuppressed","suppressed":7,"timestamp":"2026-11-18T21:16:42.123Z",
///      "types":[{"severity":"debug","suppressed":5,"type":"Poll"},{"suppressed":2}]}
///
/// So the number of forwarded entries without reports, and all numbers at "suppressed" outside of
/// "types", add up to the number of entries received. The report has no severity, so filters by
/// severity let it pass.
///
/// Limits: the first 1,024 pairs of type and severity are counted separately, for the life of the
/// filter. All later ones, and entries without a String at "message", share one counter; in the
/// report it is the element without "type".
///
/// The filter runs where entries are delivered: it saves room in the target, but the thread that
/// logs has the full cost.
///
/// Errors: exceptions from the target and the clock propagate from append and flush. If the target
/// throws, the next entry reports the number again. The destructor ignores exceptions.
///
/// Threads: append and flush may be called from any thread; calls of the target never overlap.
///
/// Ownership: shares the target, which may be null and then receives nothing. The destructor
/// appends the report to it but does not flush it.
class KORVEL_EXTRAS_API SamplingFilter : public Sink {
public:
    /// Samples what `target` receives.
    explicit SamplingFilter(std::shared_ptr<Sink> target, SamplingFilterOptions options = {});
    ~SamplingFilter() override;

    void flush() override;
    void append(const Message& message) override;

    /// The number of entries suppressed so far. May be called from any thread.
    std::uint64_t suppressed() const noexcept;

private:
    class State;

    const std::shared_ptr<Sink> target_;
    const std::unique_ptr<State> state_;
};

/// The decision of a SamplingFilter as a predicate for Filter. It does not report how many
/// entries it has suppressed. Copies share their counters and may be called from any thread.
KORVEL_EXTRAS_API std::function<bool(const Message&)> samplingPredicate(
    SamplingFilterOptions options = {});

}  // namespace Korvel::Extras
