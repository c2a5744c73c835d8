// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Extras/Severity.h>
#include <Korvel/Logger.h>
#include <Korvel/Message.h>

#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

namespace Korvel::Extras {

/// The type name of an entry, together with the place of the call. It is the first parameter of
/// SeverityLogger's functions and is converted from narrow or wide text: a literal, a string or a
/// view. A null pointer is an empty name.
///
/// The compiler fills in the place of the conversion, without a macro. A function that wraps a
/// SeverityLogger takes an EventType and passes it on, and so reports the place of its own caller.
///
/// Ownership: refers to the text, which must outlive it. Pass it by reference and do not keep it.
class EventType {
public:
    /// Takes narrow text. The last three parameters are for the compiler to fill in.
    template <class Text,
              std::enable_if_t<std::is_convertible_v<const Text&, std::string_view>, int> = 0>
    EventType(const Text& name, const char* file = __builtin_FILE(), int line = __builtin_LINE(),
              const char* function = __builtin_FUNCTION())
        : narrow_(viewOf<std::string_view>(name)), file_(file), function_(function), line_(line) {}

    /// Takes wide text.
    template <class Text,
              std::enable_if_t<std::is_convertible_v<const Text&, std::wstring_view>, long> = 0>
    EventType(const Text& name, const char* file = __builtin_FILE(), int line = __builtin_LINE(),
              const char* function = __builtin_FUNCTION())
        : wide_(viewOf<std::wstring_view>(name)), file_(file), function_(function), line_(line) {}

private:
    friend class SeverityLogger;

    template <class View, class Text>
    static View viewOf(const Text& name) {
        if constexpr (std::is_pointer_v<Text>) {
            if (name == nullptr) return {};
        }
        return name;
    }

    std::string_view narrow_;
    std::wstring_view wide_;
    const char* file_;
    const char* function_;
    int line_;
};

/// Logs entries with a severity, and ignores calls whose severity is below a threshold.
///
/// An entry has the keys that the payload gives it in any Logger, and the lower-case name of the
/// severity at the key "severity". This replaces a "severity" in the payload, so that filters and
/// collectors can rely on it. A payload that is neither a Map nor Null is first moved to the key
/// "messageData".
///
/// The payload is a Message, a value that converts to one, or a callable that returns one: the lazy
/// form. The callable runs immediately on the caller's thread, but only if the severity is on. If
/// it throws, the entry is still logged: instead of the payload it has the text of the error at the
/// key "payloadError". The exception does not leave the call, which throws `std::bad_alloc` if
/// there is no memory for that text.
///
/// Cost while the severity is off: isOn, a call without a payload and the lazy form take a
/// nanosecond or two. A list in braces is built, and destroyed again, before the call begins, which
/// takes about as long as an entry that is logged: use the lazy form where that matters.
///
/// Threshold: a copy shares the threshold of its original, so both see a change of it.
/// withThreshold creates a logger with a threshold of its own. Loggers on different chains can
/// share one threshold as well.
///
/// Location: off by default, because the texts make every entry longer. With it, the key "source"
/// contains a Map with "file", "line" and "function" of the call, the file as it was named to the
/// compiler (`-ffile-prefix-map` shortens it). A "source" in the payload is kept instead.
///
/// Errors: throws what the wrapped logger throws, and `std::range_error` "bad conversion" for a
/// narrow type name that is not UTF-8. A severity that is off throws nothing.
///
/// Threads: may be used from several threads at once, like the wrapped logger; assignment may not.
///
/// Ownership: shares the wrapped logger and the threshold. Moving copies, so an object that was
/// moved from still logs.
class KORVEL_EXTRAS_API SeverityLogger {
public:
    /// Creates a threshold of its own. `logger` must not be null.
    explicit SeverityLogger(std::shared_ptr<Logger> logger, Severity least = Severity::Info);
    /// Shares `threshold`. Neither pointer may be null.
    SeverityLogger(std::shared_ptr<Logger> logger, std::shared_ptr<SeverityThreshold> threshold);
    SeverityLogger(const SeverityLogger&) = default;
    SeverityLogger& operator=(const SeverityLogger&) = default;
    ~SeverityLogger() = default;

    /// Whether entries of this severity are logged.
    bool isOn(Severity severity) const noexcept { return threshold_->isOn(severity); }

    /// Logs one entry. Returns true if the chain accepted it, and false if the severity is off or
    /// the chain refused the entry.
    template <class Payload = Message>
    bool log(Severity severity, const EventType& type, Payload&& payload = Payload()) const {
        if (!isOn(severity)) return false;
        if constexpr (std::is_invocable_v<Payload&>) {
            // By a pointer to the pointer: a pointer to a function does not convert to `void*`.
            auto* address = std::addressof(payload);
            const auto make = [](void* target) -> Message {
                return (**static_cast<decltype(address)*>(target))();
            };
            return writeLazy(severity, type, make, &address);
        } else if constexpr (std::is_same_v<Payload, Message>) {
            return write(severity, type, payload);
        } else {
            Message message = std::forward<Payload>(payload);
            return write(severity, type, message);
        }
    }

    /// Logs one entry of the severity Trace.
    template <class Payload = Message>
    bool trace(const EventType& type, Payload&& payload = Payload()) const {
        return log(Severity::Trace, type, std::forward<Payload>(payload));
    }
    /// Logs one entry of the severity Debug.
    template <class Payload = Message>
    bool debug(const EventType& type, Payload&& payload = Payload()) const {
        return log(Severity::Debug, type, std::forward<Payload>(payload));
    }
    /// Logs one entry of the severity Info.
    template <class Payload = Message>
    bool info(const EventType& type, Payload&& payload = Payload()) const {
        return log(Severity::Info, type, std::forward<Payload>(payload));
    }
    /// Logs one entry of the severity Warning.
    template <class Payload = Message>
    bool warning(const EventType& type, Payload&& payload = Payload()) const {
        return log(Severity::Warning, type, std::forward<Payload>(payload));
    }
    /// Logs one entry of the severity Error.
    template <class Payload = Message>
    bool error(const EventType& type, Payload&& payload = Payload()) const {
        return log(Severity::Error, type, std::forward<Payload>(payload));
    }
    /// Logs one entry of the severity Critical.
    template <class Payload = Message>
    bool critical(const EventType& type, Payload&& payload = Payload()) const {
        return log(Severity::Critical, type, std::forward<Payload>(payload));
    }

    /// Flushes the wrapped logger.
    void flush() const { logger_->flush(); }

    /// The threshold: to change it, for all loggers that share it, or to share it with another
    /// logger. Never null.
    const std::shared_ptr<SeverityThreshold>& threshold() const noexcept { return threshold_; }

    /// Returns a logger like this one with a threshold of its own.
    SeverityLogger withThreshold(Severity least) const;

    /// Returns a logger like this one, sharing its threshold, that adds the location of the call to
    /// each entry or no longer does.
    SeverityLogger withLocation(bool hasLocation = true) const;

private:
    bool write(Severity severity, const EventType& type, Message& payload) const;
    bool writeLazy(Severity severity, const EventType& type, Message (*make)(void*),
                   void* target) const;

    std::shared_ptr<Logger> logger_;
    std::shared_ptr<SeverityThreshold> threshold_;
    bool hasLocation_ = false;
};

}  // namespace Korvel::Extras
