// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Message.h>

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// What applications need beyond the core.
namespace Korvel::Extras {

/// The importance of an entry. In an entry it is a String at the key "severity": the lower-case
/// name of the enumerator.
///
/// | Severity | syslog (RFC 5424) | OpenTelemetry number | Google Cloud |
/// |---|---|---|---|
/// | Trace | 7 debug | 1 | DEBUG |
/// | Debug | 7 debug | 5 | DEBUG |
/// | Info | 6 informational | 9 | INFO |
/// | Warning | 4 warning | 13 | WARNING |
/// | Error | 3 error | 17 | ERROR |
/// | Critical | 2 critical | 21 | CRITICAL |
enum class Severity { Trace, Debug, Info, Warning, Error, Critical };

/// The text in an entry: "trace", "debug", "info", "warning", "error" or "critical".
KORVEL_EXTRAS_API std::string_view severityName(Severity severity) noexcept;

/// The same text as a Message.
inline Message toMessage(Severity severity) {
    return std::string(severityName(severity));
}

/// Reads a name in any case. Also accepts "information", "warn", "err", "crit" and "fatal".
KORVEL_EXTRAS_API std::optional<Severity> parseSeverity(std::string_view name) noexcept;

/// The severity of an entry: nothing if `entry` is not a Map or has no such key, or if the value is
/// not a String that parseSeverity accepts. Never throws.
KORVEL_EXTRAS_API std::optional<Severity> severityOf(const Message& entry) noexcept;

/// A predicate for Filter that accepts entries of `least` and above. It also accepts entries
/// without a known severity, so that no filter hides an entry by mistake. Safe on any Message.
KORVEL_EXTRAS_API std::function<bool(const Message&)> severityAtLeast(Severity least);

/// The lowest severity that is logged. Several loggers can share one.
///
/// Threads: may be read and set on any thread at any time. Later calls see a change. It does not
/// synchronise other memory.
class SeverityThreshold {
public:
    /// Turns `least` and every higher severity on.
    explicit SeverityThreshold(Severity least = Severity::Info) noexcept : least_(least) {}

    /// Changes the least severity that is on.
    void set(Severity least) noexcept { least_.store(least, std::memory_order_relaxed); }
    /// The least severity that is on.
    Severity get() const noexcept { return least_.load(std::memory_order_relaxed); }
    /// Whether `severity` is on.
    bool isOn(Severity severity) const noexcept { return severity >= get(); }

private:
    std::atomic<Severity> least_;
};

}  // namespace Korvel::Extras
