// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Check.h"

#include "Line.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>
#include <vector>

namespace KorvelCheck {
namespace {

using std::chrono::milliseconds;
using std::filesystem::path;

constexpr milliseconds SHOW_INTERVAL(250);

/// What the library and its extras log when they had to drop or cut an entry.
constexpr std::array<const char*, 4> LOSSES = {"EntriesDropped", "EntriesRefused",
                                               "EntriesSuppressed", "Message to long"};

/// The time of a text in the form of createIso8601String.
std::optional<std::chrono::sys_time<milliseconds>> timeOf(const std::string& text) {
    constexpr std::size_t LENGTH = 24;
    std::array<int, 7> n{};
    int end = 0;
    // Reads no further than the text: every field has a width.
    std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%3dZ%n", n.data(), &n[1], &n[2], &n[3],
                &n[4], &n[5], &n[6], &end);
    const std::chrono::year_month_day day{std::chrono::year(n[0]),
                                          std::chrono::month(static_cast<unsigned>(n[1])),
                                          std::chrono::day(static_cast<unsigned>(n[2]))};
    if (text.size() != LENGTH || end != static_cast<int>(LENGTH) || !day.ok() || n[3] > 23 ||
        n[4] > 59)
        return std::nullopt;
    return std::chrono::sys_days(day) + std::chrono::hours(n[3]) + std::chrono::minutes(n[4]) +
           std::chrono::seconds(n[5]) + milliseconds(n[6]);
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
    if (line.fault != Fault::None) progress_.stepAside([&] { report_.addFault(line, place); });
    if (line.fault != Fault::None && line.fault != Fault::DuplicateKey) return;
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
