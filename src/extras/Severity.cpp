// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/Severity.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace Korvel::Extras {
namespace {

constexpr std::array<std::string_view, 6> NAMES = {"trace",   "debug", "info",
                                                   "warning", "error", "critical"};
constexpr std::array<std::pair<std::string_view, Severity>, 5> ALIASES = {{
    {"information", Severity::Info},
    {"warn", Severity::Warning},
    {"err", Severity::Error},
    {"crit", Severity::Critical},
    {"fatal", Severity::Critical},
}};

/// Without the global locale, which can map letters differently.
char lowerCase(char letter) noexcept {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isSameName(std::string_view left, std::string_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lowerCase(a) == lowerCase(b); });
}

}  // namespace

std::string_view severityName(Severity severity) noexcept {
    return NAMES[static_cast<std::size_t>(severity)];
}

std::optional<Severity> parseSeverity(std::string_view name) noexcept {
    for (std::size_t i = 0; i < NAMES.size(); ++i) {
        if (isSameName(name, NAMES[i])) return static_cast<Severity>(i);
    }
    for (const auto& [alias, severity] : ALIASES) {
        if (isSameName(name, alias)) return severity;
    }
    return std::nullopt;
}

std::optional<Severity> severityOf(const Message& entry) noexcept try {
    if (!entry.isMap() || !entry.hasKey("severity")) return std::nullopt;
    const Message& value = entry.at("severity");
    if (!value.isString()) return std::nullopt;
    return parseSeverity(value.getString());
} catch (...) {
    // The text cannot be converted, or there is no memory for it.
    return std::nullopt;
}

std::function<bool(const Message&)> severityAtLeast(Severity least) {
    return [least](const Message& entry) { return severityOf(entry).value_or(least) >= least; };
}

}  // namespace Korvel::Extras
