// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/LineConsoleSink.h>

#include "extras/LineText.h"
#include "extras/platform/Terminal.h"

#include <Korvel/Extras/Severity.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <ostream>
#include <string_view>

namespace Korvel::Extras {
namespace {

using LineText::ColourSequences;

constexpr std::size_t LONGEST_SEVERITY = 8;
constexpr std::string_view KEY_COLOUR = "\x1b[36m";
constexpr std::string_view NO_COLOUR = "\x1b[0m";
constexpr std::array<std::string_view, 6> SEVERITY_COLOURS = {"\x1b[90m", "\x1b[34m", "\x1b[32m",
                                                              "\x1b[33m", "\x1b[31m", "\x1b[1;31m"};

std::string_view environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

bool wantsColours(const LineConsoleSinkOptions& options, bool isStandardStream) {
    if (options.colours != Colours::Automatic) return options.colours == Colours::Always;
    if (!environment("NO_COLOR").empty()) return false;
    const std::string_view force = environment("CLICOLOR_FORCE");
    if (!force.empty() && force != "0") return true;
    return environment("TERM") != "dumb" && isStandardStream &&
           Terminal::showsColours(options.destination);
}

/// The parts of a timestamp.
struct Moment {
    std::tm utc;
    std::string decimals;  ///< With the point; empty if there are none.
};

std::int64_t secondsSinceEpoch(const std::tm& fields) {
    using namespace std::chrono;
    const sys_days day = year(fields.tm_year + 1900) / (fields.tm_mon + 1) / fields.tm_mday;
    const sys_seconds time =
        day + hours(fields.tm_hour) + minutes(fields.tm_min) + seconds(fields.tm_sec);
    return time.time_since_epoch().count();
}

bool isInCalendar(const std::tm& fields) {
    using namespace std::chrono;
    const year_month_day day = year(fields.tm_year + 1900) / (fields.tm_mon + 1) / fields.tm_mday;
    return day.ok() && fields.tm_hour < 24 && fields.tm_min < 60 && fields.tm_sec < 60;
}

/// Reads the form "2026-11-18T21:16:42.123Z" with up to nine decimals, or without the point.
std::optional<Moment> readTimestamp(std::wstring_view text) {
    constexpr std::wstring_view FORM = L"0000-00-00T00:00:00";
    constexpr std::size_t MAX_DECIMALS = 9;
    const auto isDigit = [](wchar_t c) { return c >= L'0' && c <= L'9'; };
    if (text.size() <= FORM.size() || text.back() != L'Z') return std::nullopt;
    for (std::size_t i = 0; i < FORM.size(); ++i) {
        if (FORM[i] == L'0' ? !isDigit(text[i]) : text[i] != FORM[i]) return std::nullopt;
    }
    const std::wstring_view decimals = text.substr(FORM.size(), text.size() - FORM.size() - 1);
    if (!decimals.empty() && (decimals[0] != L'.' || decimals.size() < 2)) return std::nullopt;
    if (decimals.size() > MAX_DECIMALS + 1) return std::nullopt;
    for (std::size_t i = 1; i < decimals.size(); ++i) {
        if (!isDigit(decimals[i])) return std::nullopt;
    }
    const auto number = [&](std::size_t begin) {
        return static_cast<int>(text[begin] - L'0') * 10 + static_cast<int>(text[begin + 1] - L'0');
    };
    Moment moment = {{}, {decimals.begin(), decimals.end()}};
    moment.utc.tm_year = number(0) * 100 + number(2) - 1900;
    moment.utc.tm_mon = number(5) - 1;
    moment.utc.tm_mday = number(8);
    moment.utc.tm_hour = number(11);
    moment.utc.tm_min = number(14);
    moment.utc.tm_sec = number(17);
    if (!isInCalendar(moment.utc)) return std::nullopt;
    return moment;
}

std::string timeOfDay(const std::tm& fields, const std::string& decimals) {
    char text[48];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", fields.tm_hour, fields.tm_min,
                  fields.tm_sec);
    return text + decimals;
}

std::string localTime(const Moment& moment) {
    const std::int64_t seconds = secondsSinceEpoch(moment.utc);
    std::tm local = {};
    if (!Terminal::toLocalTime(static_cast<std::time_t>(seconds), local)) {
        return timeOfDay(moment.utc, moment.decimals) + "Z";
    }
    const auto minutes = static_cast<int>((secondsSinceEpoch(local) - seconds) / 60);
    char offset[48];
    std::snprintf(offset, sizeof offset, "%c%02d:%02d", minutes < 0 ? '-' : '+',
                  std::abs(minutes) / 60, std::abs(minutes) % 60);
    return timeOfDay(local, moment.decimals) + offset;
}

/// The line of one entry.
class Line {
public:
    Line(const LineConsoleSinkOptions& options, bool isColoured)
        : time_(options.time),
          isColoured_(isColoured),
          sequences_(isColoured && options.passColours ? ColourSequences::Pass
                                                       : ColourSequences::Escape) {}

    std::string render(const Message& message) {
        if (!message.isMap()) {
            LineText::appendValue(text_, message, sequences_);
            return std::move(text_);
        }
        const bool hasTime = addTime(message);
        const bool hasSeverity = addSeverity(message);
        const bool hasType = addType(message);
        message.forEach([&](std::wstring_view key, const Message& value) {
            const bool isShown = (hasTime && key == L"timestamp") ||
                                 (hasSeverity && key == L"severity") ||
                                 (hasType && key == L"message");
            if (!isShown) addField(key, value);
        });
        return std::move(text_);
    }

private:
    void addSpace() {
        if (!text_.empty()) text_ += ' ';
    }

    bool addTime(const Message& entry) {
        if (!entry.hasKey(L"timestamp") || !entry.at(L"timestamp").isString()) return false;
        const std::wstring timestamp = entry.at(L"timestamp").getWstring();
        const std::optional<Moment> moment = readTimestamp(timestamp);
        if (!moment) return false;
        switch (time_) {
        case LineTime::Local:
            text_ += localTime(*moment);
            break;
        case LineTime::Utc:
            text_ += timeOfDay(moment->utc, moment->decimals) + "Z";
            break;
        case LineTime::Full:
            text_.append(timestamp.begin(), timestamp.end());
            break;
        }
        return true;
    }

    bool addSeverity(const Message& entry) {
        const std::optional<Severity> severity = severityOf(entry);
        if (!severity) return false;
        const std::string_view name = severityName(*severity);
        addSpace();
        addColour(SEVERITY_COLOURS[static_cast<std::size_t>(*severity)]);
        text_ += name;
        addColour(NO_COLOUR);
        text_.append(LONGEST_SEVERITY - name.size(), ' ');
        return true;
    }

    bool addType(const Message& entry) {
        if (!entry.hasKey(L"message") || !entry.at(L"message").isString()) return false;
        addSpace();
        LineText::appendText(text_, entry.at(L"message").getWstring(), sequences_);
        return true;
    }

    void addField(std::wstring_view key, const Message& value) {
        addSpace();
        addColour(KEY_COLOUR);
        LineText::appendText(text_, key);
        addColour(NO_COLOUR);
        text_ += '=';
        LineText::appendValue(text_, value, sequences_);
    }

    void addColour(std::string_view sequence) {
        if (isColoured_) text_ += sequence;
    }

    const LineTime time_;
    const bool isColoured_;
    const ColourSequences sequences_;
    std::string text_;
};

}  // namespace

LineConsoleSink::LineConsoleSink(const LineConsoleSinkOptions& options)
    : options_(options), stream_(nullptr), isColoured_(wantsColours(options, true)) {}

LineConsoleSink::LineConsoleSink(std::ostream& stream, const LineConsoleSinkOptions& options)
    : options_(options), stream_(&stream), isColoured_(wantsColours(options, false)) {}

LineConsoleSink::~LineConsoleSink() = default;

void LineConsoleSink::flush() {
    // Nothing is buffered: every line is flushed by its append.
}

void LineConsoleSink::append(const Message& message) {
    try {
        write(Line(options_, isColoured_).render(message));
    } catch (...) {
        // No memory, or a stream whose exceptions are enabled. A console that fails is no reason to
        // end delivery to other sinks.
    }
}

void LineConsoleSink::write(std::string line) {
    const std::lock_guard<std::mutex> guard(sinkLock);
    if (stream_ == nullptr) {
        Terminal::writeLine(options_.destination, std::move(line));
        return;
    }
    line += '\n';
    stream_->write(line.data(), static_cast<std::streamsize>(line.size()));
    stream_->flush();
}

}  // namespace Korvel::Extras
