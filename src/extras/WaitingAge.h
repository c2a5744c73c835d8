// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>

namespace Korvel::Extras {

/// Remembers how many entries had been accepted at which time. This gives the age of the oldest
/// waiting entry without a time in each entry.
class WaitingAge {
public:
    using Clock = std::chrono::steady_clock;

    /// `settled` is the number of entries that no longer wait. Neither count may ever shrink.
    void sample(Clock::time_point now, std::uint64_t accepted, std::uint64_t settled) {
        while (!samples_.empty() && samples_.front().accepted <= settled) samples_.pop_front();
        const std::uint64_t known = samples_.empty() ? settled : samples_.back().accepted;
        if (accepted <= known) return;
        if (samples_.size() == CAPACITY) thin(now);
        if (samples_.size() < CAPACITY) samples_.push_back({now, accepted});
    }

    /// The first sample is the first that included the oldest waiting entry.
    Clock::duration oldest(Clock::time_point now) const {
        return samples_.empty() ? Clock::duration::zero() : now - samples_.front().time;
    }

private:
    struct Sample {
        Clock::time_point time;
        std::uint64_t accepted;
    };
    /// Enough for days.
    static constexpr std::size_t CAPACITY = 2048;
    static constexpr int ACCURACY = 64;

    /// Drops samples where the gap that remains is at most a 64th of its age, so it stays that
    /// small a part of the age forever.
    void thin(Clock::time_point now) {
        std::deque<Sample> kept = {samples_.front()};
        for (std::size_t i = 1; i + 1 < samples_.size(); ++i) {
            const Clock::time_point next = samples_[i + 1].time;
            if (next - kept.back().time > (now - next) / ACCURACY) kept.push_back(samples_[i]);
        }
        kept.push_back(samples_.back());
        samples_.swap(kept);
    }

    std::deque<Sample> samples_;
};

}  // namespace Korvel::Extras
