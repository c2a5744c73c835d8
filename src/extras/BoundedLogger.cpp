// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/BoundedLogger.h>

#include "extras/MonitorState.h"

#include <Korvel/Extras/Severity.h>
#include <Korvel/Functions.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Korvel::Extras {
namespace {

constexpr wchar_t NOTE_TYPE[] = L"EntriesRefused";
constexpr std::chrono::seconds NOTE_PAUSE(1);

/// The refusals of one note.
class RefusedEntries {
public:
    void add(std::optional<Severity> severity) {
        if (number_++ == 0) since_ = std::chrono::system_clock::now();
        ++bySeverity_[std::string(severity ? severityName(*severity) : "none")];
    }

    Message toMessage() const {
        Message bySeverity;
        for (const auto& [name, number] : bySeverity_) bySeverity[name] = number;
        return {{"number", number_},
                {"since", createIso8601String(since_)},
                {"bySeverity", bySeverity},
                {"severity", std::string(severityName(Severity::Warning))},
                {"timestamp", createIso8601String(std::chrono::system_clock::now())}};
    }

private:
    std::uint64_t number_ = 0;
    std::map<std::string, std::uint64_t> bySeverity_;
    std::chrono::system_clock::time_point since_;
};

BoundedLoggerOptions withinLimits(BoundedLoggerOptions options) {
    // Never reached, and a double of this size is exact.
    constexpr std::uint64_t MAX_CEILING = std::uint64_t{1} << 52;
    options.ceiling = (std::min)(options.ceiling, MAX_CEILING);
    options.wait = (std::min)(options.wait, MonitorState::LONGEST);
    return options;
}

std::uint64_t ordinaryPlaces(const BoundedLoggerOptions& options) {
    const double share = 1 - std::clamp(options.reserve, 0.0, 1.0);
    const auto places = static_cast<std::uint64_t>(static_cast<double>(options.ceiling) * share);
    return (std::min)(places, options.ceiling - 1);
}

}  // namespace

class BoundedLogger::State {
public:
    using Clock = std::chrono::steady_clock;
    using Place = EntryCounts::Place;

    State(std::shared_ptr<MonitorState> monitor, const BoundedLoggerOptions& options)
        : monitor_(std::move(monitor)),
          options_(withinLimits(options)),
          ordinary_(ordinaryPlaces(options_)) {
        monitor_->addAction(this, [this] { noteIfRoom(); });
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State();

    bool log(const std::wstring& type, Message& message);
    void flush();

private:
    bool admit(std::optional<Severity> severity);
    void refuse(std::optional<Severity> severity);
    void noteIfRoom() noexcept;
    void note();

    // Constant after construction.

    const std::shared_ptr<MonitorState> monitor_;
    const BoundedLoggerOptions options_;
    /// The number of places for ordinary entries.
    const std::uint64_t ordinary_;

    // Written with mutex_ held, also read without it.

    std::atomic<bool> owesNote_ = false;

    // Guarded by mutex_.

    std::mutex mutex_;
    RefusedEntries refused_;
    Clock::time_point nextNote_;
};

BoundedLogger::State::~State() {
    monitor_->removeAction(this);
    try {
        Message text = refused_.toMessage();
        if (owesNote_) monitor_->pass(NOTE_TYPE, text, Place::None);
    } catch (...) {
        // There is no memory for the note.
    }
}

/// Looks for the severity only if that can make a difference.
bool BoundedLogger::State::log(const std::wstring& type, Message& message) {
    if (!monitor_->counts().reserve(ordinary_)) {
        const std::optional<Severity> severity = severityOf(message);
        if (!admit(severity)) {
            refuse(severity);
            return false;
        }
    }
    const bool isAccepted = monitor_->log(type, message, Place::Held);
    if (owesNote_) noteIfRoom();
    return isAccepted;
}

void BoundedLogger::State::flush() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (owesNote_) note();
    }
    monitor_->flush();
}

bool BoundedLogger::State::admit(std::optional<Severity> severity) {
    EntryCounts& counts = monitor_->counts();
    const bool isUrgent = severity >= Severity::Error;
    const std::uint64_t limit = isUrgent ? options_.ceiling - 1 : ordinary_;
    if (isUrgent && counts.reserve(limit)) return true;
    if (options_.wait.count() <= 0) return false;
    return counts.waitForPlace(limit, Clock::now() + options_.wait);
}

void BoundedLogger::State::refuse(std::optional<Severity> severity) {
    monitor_->counts().refuse();
    const std::lock_guard<std::mutex> lock(mutex_);
    refused_.add(severity);
    owesNote_ = true;
}

void BoundedLogger::State::noteIfRoom() noexcept try {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!owesNote_ || Clock::now() < nextNote_) return;
    if (monitor_->counts().inFlight() < ordinary_) note();
} catch (...) {
    // There is no memory. The note remains owed.
}

/// Needs mutex_. The refusals are forgotten only when the handler has taken the note.
void BoundedLogger::State::note() {
    Message text = refused_.toMessage();
    if (!monitor_->counts().reserve(options_.ceiling)) return;
    if (!monitor_->pass(NOTE_TYPE, text, Place::Held)) return;
    refused_ = RefusedEntries();
    owesNote_ = false;
    nextNote_ = Clock::now() + NOTE_PAUSE;
}

BoundedLogger::BoundedLogger(std::shared_ptr<Monitor> monitor, BoundedLoggerOptions options) {
    if (monitor == nullptr) throw std::invalid_argument("BoundedLogger needs a monitor");
    if (options.ceiling < 2) throw std::invalid_argument("BoundedLogger needs two places");
    MonitorState* const state = monitor->state_.get();
    state_ =
        std::make_unique<State>(std::shared_ptr<MonitorState>(std::move(monitor), state), options);
}

BoundedLogger::~BoundedLogger() = default;

bool BoundedLogger::log(const std::wstring& type, Message message) {
    return state_->log(type, message);
}

void BoundedLogger::flush() {
    state_->flush();
}

}  // namespace Korvel::Extras
