// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Check.h"

#include "Line.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

namespace KorvelCheck {
namespace {

using std::chrono::milliseconds;
using std::filesystem::path;

constexpr milliseconds SHOW_INTERVAL(250);

/// The types of entries that report a dropped or cut entry.
constexpr std::array<const char*, 4> LOSSES = {"EntriesDropped", "EntriesRefused",
                                               "EntriesSuppressed", "Message to long"};

/// The time of a text in the form of createIso8601String.
std::optional<std::chrono::sys_time<milliseconds>> timeOf(const std::string& text) {
    constexpr std::string_view FORM = "0000-00-00T00:00:00.000Z";
    const bool hasForm = std::equal(
        text.begin(), text.end(), FORM.begin(), FORM.end(), [](char character, char form) {
            return form == '0' ? character >= '0' && character <= '9' : character == form;
        });
    if (!hasForm) return std::nullopt;
    const auto number = [&text](std::size_t begin, std::size_t size) {
        return static_cast<unsigned>(std::stoul(text.substr(begin, size)));
    };
    const std::chrono::year_month_day day{std::chrono::year(static_cast<int>(number(0, 4))),
                                          std::chrono::month(number(5, 2)),
                                          std::chrono::day(number(8, 2))};
    const unsigned hour = number(11, 2);
    const unsigned minute = number(14, 2);
    const unsigned second = number(17, 2);
    if (!day.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return std::chrono::sys_days(day) + std::chrono::hours(hour) + std::chrono::minutes(minute) +
           std::chrono::seconds(second) + milliseconds(number(20, 3));
}

std::string secondsText(milliseconds time) {
    const std::string text = std::to_string(static_cast<double>(time.count()) / 1000);
    return text.substr(0, text.find('.') + 2) + " s";
}

bool endsIn(const path& name, const std::string& ending) {
    const std::string text = name.string();
    return text.size() >= ending.size() &&
           text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

}  // namespace

void Check::checkPath(const path& path) {
    latest_.reset();
    if (std::filesystem::is_directory(path)) {
        checkDirectory(path);
    } else {
        checkFile(path);
    }
}

void Check::checkDirectory(const path& directory) {
    std::error_code error;
    std::vector<path> files;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
        files.push_back(entry.path());
    }
    if (error) add(Kind::Unreadable, plain(directory.string()), error.message());
    std::sort(files.begin(), files.end());
    for (const path& file : files) {
        if (endsIn(file, ".log.tmp")) {
            add(Kind::InterruptedUpload, plain(file.string()),
                "rename it to .log to send it, perhaps a second time, or delete it");
        } else if (endsIn(file, ".log")) {
            checkFile(file);
        }
    }
}

void Check::checkFile(const path& file) {
    const std::string name = plain(file.string());
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        return add(Kind::Unreadable, name, std::generic_category().message(errno));
    }
    report_.addFile();
    std::uint64_t bytes = 0;
    std::string text;
    for (std::uint64_t number = 1; std::getline(stream, text); ++number) {
        const std::string place = name + ':' + std::to_string(number);
        bytes += text.size() + 1;
        // A torn line is one finding, not two.
        if (!stream.eof()) {
            checkLine(text, place);
        } else {
            add(Kind::TornLine, place, std::to_string(text.size()) + " bytes");
        }
        show(name, bytes);
    }
    if (stream.bad()) add(Kind::Unreadable, name, "to its end");
    if (bytes == 0) add(Kind::EmptyFile, name);
}

void Check::checkLine(const std::string& text, const std::string& place) {
    const Line line = readLine(text);
    if (line.fault) add(*line.fault, place, line.detail);
    if (line.fault && line.fault != Kind::DuplicateKey) return;
    report_.addEntry(line);
    if (!line.timestamp.empty()) checkTime(line.timestamp, place);
    if (std::find(LOSSES.begin(), LOSSES.end(), line.type) != LOSSES.end()) {
        add(Kind::Loss, place, plain(line.type));
    }
}

void Check::checkTime(const std::string& timestamp, const std::string& place) {
    const std::optional<Time> time = timeOf(timestamp);
    if (!time) return add(Kind::OddTime, place, plain(timestamp));
    report_.addTime(timestamp);
    const milliseconds step = *time - latest_.value_or(*time);
    if (limits_.gap.count() > 0 && step > limits_.gap) {
        add(Kind::Gap, place, secondsText(step));
    }
    const bool goesBack = -step > limits_.back;
    if (goesBack) add(Kind::TimeGoesBack, place, secondsText(-step));
    // After a clock was set back, only the first line is out of order.
    if (goesBack || step.count() >= 0) latest_ = time;
}

void Check::add(Kind kind, const std::string& place, const std::string& detail) {
    progress_.stepAside([&] { report_.add(kind, place, detail); });
}

void Check::show(const std::string& name, std::uint64_t bytes) {
    const auto now = std::chrono::steady_clock::now();
    if (now < nextShow_) return;
    nextShow_ = now + SHOW_INTERVAL;
    constexpr std::size_t LONGEST_NAME = 50;
    constexpr std::uint64_t MEGABYTE = 1'000'000;
    const std::string end = name.substr(name.size() - (std::min)(name.size(), LONGEST_NAME));
    progress_.show(end + ": " + std::to_string(bytes / MEGABYTE) + " MB");
}

}  // namespace KorvelCheck
