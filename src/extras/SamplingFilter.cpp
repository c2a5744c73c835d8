// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/SamplingFilter.h>

#include <Korvel/Extras/Severity.h>
#include <Korvel/Functions.h>

#include <atomic>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace Korvel::Extras {
namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr std::size_t MAX_KEYS = 1024;

/// The sequence number of the current window's entries, and what was not yet reported.
struct Counter {
    std::optional<Time> windowBegin;
    std::uint64_t received = 0;
    std::int64_t owed = 0;
};

/// Decides about entries. Not thread-safe.
class Sampler {
public:
    /// Null means an entry of no known severity.
    using Key = std::pair<std::wstring, std::optional<Severity>>;

    explicit Sampler(SamplingFilterOptions options) : options_(std::move(options)) {
        if (options_.clock == nullptr) options_.clock = std::chrono::steady_clock::now;
    }

    /// The counter of an entry; null for an entry that always passes.
    Counter* counterOf(const Message& entry) {
        if (!entry.isMap()) return nullptr;
        const std::optional<Severity> severity = severityOf(entry);
        if (severity >= Severity::Error) return nullptr;
        if (!entry.hasKey(L"message") || !entry.at(L"message").isString()) return &shared_;
        Key key(entry.at(L"message").getWstring(), severity);
        const auto found = counters_.find(key);
        if (found != counters_.end()) return &found->second;
        return counters_.size() < MAX_KEYS ? &counters_[std::move(key)] : &shared_;
    }

    /// Counts an entry and returns whether it passes.
    bool takesNext(Counter& counter) const {
        const Time now = options_.clock();
        if (!counter.windowBegin || now - *counter.windowBegin >= options_.window) {
            counter.windowBegin = now;
            counter.received = 0;
        }
        const std::uint64_t number = ++counter.received;
        if (number <= options_.first) return true;
        return options_.thereafter > 0 && (number - options_.first) % options_.thereafter == 0;
    }

    /// A Null if nothing is owed.
    Message report() const {
        std::int64_t total = 0;
        std::vector<Message> types;
        const auto add = [&](const Counter& counter, Message element) {
            if (counter.owed == 0) return;
            total += counter.owed;
            element["suppressed"] = counter.owed;
            types.push_back(std::move(element));
        };
        for (const auto& [key, counter] : counters_) {
            Message element({{"type", key.first}});
            if (key.second) element["severity"] = std::string(severityName(*key.second));
            add(counter, std::move(element));
        }
        add(shared_, {});
        if (total == 0) return {};
        return {{"message", "EntriesSuppressed"},
                {"suppressed", total},
                {"timestamp", createIso8601String(std::chrono::system_clock::now())},
                {"types", std::move(types)}};
    }

    void forgetOwed() {
        for (auto& [key, counter] : counters_) counter.owed = 0;
        shared_.owed = 0;
    }

private:
    SamplingFilterOptions options_;
    std::map<Key, Counter> counters_;
    Counter shared_;
};

}  // namespace

class SamplingFilter::State {
public:
    explicit State(SamplingFilterOptions options) : sampler(std::move(options)) {}

    /// What is owed stays owed if the target throws.
    void reportTo(Sink& target) {
        const Message report = sampler.report();
        if (report.isNull()) return;
        target.append(report);
        sampler.forgetOwed();
    }

    Sampler sampler;
    std::atomic<std::uint64_t> suppressed = 0;
};

SamplingFilter::SamplingFilter(std::shared_ptr<Sink> target, SamplingFilterOptions options)
    : target_(std::move(target)), state_(std::make_unique<State>(std::move(options))) {}

SamplingFilter::~SamplingFilter() {
    try {
        if (target_ != nullptr) state_->reportTo(*target_);
    } catch (...) {
        // Nobody is left who could hear of it.
    }
}

void SamplingFilter::flush() {
    if (target_ == nullptr) return;
    const std::lock_guard<std::mutex> guard(sinkLock);
    state_->reportTo(*target_);
    target_->flush();
}

void SamplingFilter::append(const Message& message) {
    if (target_ == nullptr) return;
    const std::lock_guard<std::mutex> guard(sinkLock);
    Counter* const counter = state_->sampler.counterOf(message);
    if (counter != nullptr && !state_->sampler.takesNext(*counter)) {
        ++counter->owed;
        state_->suppressed.fetch_add(1, std::memory_order_relaxed);
    } else if (counter == nullptr || counter->owed == 0) {
        target_->append(message);
    } else {
        Message marked = message;
        marked["suppressed"] = counter->owed;
        target_->append(marked);
        counter->owed = 0;
    }
}

std::uint64_t SamplingFilter::suppressed() const noexcept {
    return state_->suppressed.load(std::memory_order_relaxed);
}

std::function<bool(const Message&)> samplingPredicate(SamplingFilterOptions options) {
    struct Shared {
        explicit Shared(SamplingFilterOptions options) : sampler(std::move(options)) {}

        std::mutex lock;
        Sampler sampler;
    };
    const auto shared = std::make_shared<Shared>(std::move(options));
    return [shared](const Message& entry) {
        const std::lock_guard<std::mutex> guard(shared->lock);
        Counter* const counter = shared->sampler.counterOf(entry);
        return counter == nullptr || shared->sampler.takesNext(*counter);
    };
}

}  // namespace Korvel::Extras
