// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "Kind.h"
#include "Line.h"

#include <cstdint>
#include <map>
#include <ostream>
#include <string>

namespace KorvelCheck {

/// Collects the findings, and prints the first ones of each kind immediately.
class Report {
public:
    explicit Report(std::ostream& details) : details_(details) {}

    /// `place` is a file, or a file and a line; `detail` completes the sentence or is empty.
    void add(Kind kind, const std::string& place, const std::string& detail = "");
    void addFile() { ++files_; }
    void addEntry(const Line& line);
    /// In the form of createIso8601String, which sorts by time.
    void addTime(const std::string& timestamp);

    bool isFine() const;
    void writeText(std::ostream& stream) const;
    void writeJson(std::ostream& stream) const;

private:
    std::ostream& details_;
    std::uint64_t files_ = 0;
    std::uint64_t entries_ = 0;
    std::string first_;
    std::string last_;
    std::map<std::string, std::uint64_t> types_;
    std::map<std::string, std::uint64_t> severities_;
    std::map<Kind, std::uint64_t> found_;
};

/// `text` as plain ASCII that cannot control a terminal: JSON without the quotes.
std::string plain(const std::string& text);

}  // namespace KorvelCheck
