// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace KorvelCheck {
namespace {

constexpr std::uint64_t SHOWN_OF_A_KIND = 5;
constexpr std::size_t SHOWN_TYPES = 20;

struct Words {
    const char* key;
    const char* sentence;
};

/// By Kind.
constexpr std::array<Words, 15> WORDS = {{
    {"not_json", "is not JSON"},
    {"zero_bytes", "contains zero bytes, as a loss of power leaves them"},
    {"not_utf8", "is not UTF-8"},
    {"lone_surrogate", "contains half of a surrogate pair"},
    {"not_finite", "contains a number that JSON cannot hold, such as nan or inf"},
    {"duplicate_key", "contains a key twice"},
    {"not_an_entry", "is JSON, but not an object"},
    {"torn_line", "is torn: the file ends without a line end"},
    {"time_goes_back", "is older than the line before"},
    {"interrupted_upload", "belongs to an upload that is running or was interrupted"},
    {"unreadable", "cannot be read"},
    {"gap", "comes long after the line before"},
    {"empty_file", "is empty"},
    {"odd_time", "has a \"timestamp\" that is not like 2026-11-18T21:16:42.123Z"},
    {"loss", "reports that entries were lost or cut"},
}};

const Words& wordsOf(Kind kind) {
    return WORDS[static_cast<std::size_t>(kind)];
}

bool isNote(Kind kind) {
    return kind >= Kind::Gap;
}

std::string countText(std::uint64_t count, const std::string& noun, const std::string& plural) {
    return std::to_string(count) + ' ' + (count == 1 ? noun : plural);
}

/// The names with their counts, the most frequent first.
void writeCounts(std::ostream& stream, const std::string& title,
                 const std::map<std::string, std::uint64_t>& counts) {
    if (counts.empty()) return;
    std::vector<std::pair<std::string, std::uint64_t>> sorted(counts.begin(), counts.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& one, const auto& other) { return one.second > other.second; });
    const std::size_t shown = (std::min)(sorted.size(), SHOWN_TYPES);
    for (std::size_t i = 0; i < shown; ++i) {
        const std::string name = sorted[i].first.empty() ? "(none)" : plain(sorted[i].first);
        stream << (i == 0 ? title + ": " : ", ") << name << ' ' << sorted[i].second;
    }
    if (shown < sorted.size()) stream << ", and " << sorted.size() - shown << " more";
    stream << '\n';
}

}  // namespace

std::string plain(const std::string& text) {
    const std::string quoted =
        nlohmann::json(text).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    return quoted.substr(1, quoted.size() - 2);
}

void Report::add(Kind kind, const std::string& place, const std::string& detail) {
    const std::uint64_t count = ++found_[kind];
    if (count > SHOWN_OF_A_KIND) return;
    details_ << place << ' ' << wordsOf(kind).sentence;
    if (!detail.empty()) details_ << " (" << detail << ')';
    details_ << (count == SHOWN_OF_A_KIND ? ". More of these are only counted.\n" : ".\n");
}

void Report::addEntry(const Line& line) {
    ++entries_;
    ++types_[line.type];
    if (!line.severity.empty()) ++severities_[line.severity];
}

void Report::addTime(const std::string& timestamp) {
    if (first_.empty() || timestamp < first_) first_ = timestamp;
    last_ = (std::max)(last_, timestamp);
}

bool Report::isFine() const {
    return std::all_of(found_.begin(), found_.end(),
                       [](const auto& found) { return isNote(found.first); });
}

void Report::writeText(std::ostream& stream) const {
    stream << countText(files_, "file", "files") << ", " << countText(entries_, "entry", "entries");
    if (!first_.empty()) stream << ", from " << first_ << " to " << last_;
    stream << '\n';
    writeCounts(stream, "Types", types_);
    writeCounts(stream, "Severities", severities_);
    for (const bool areNotes : {false, true}) {
        for (const auto& [kind, count] : found_) {
            if (isNote(kind) != areNotes) continue;
            stream << (areNotes ? "Note" : "Found") << ": " << wordsOf(kind).key << ' ' << count
                   << '\n';
        }
    }
    if (isFine()) stream << "Nothing is wrong.\n";
}

void Report::writeJson(std::ostream& stream) const {
    nlohmann::ordered_json summary = {{"fine", isFine()}, {"files", files_}, {"entries", entries_}};
    if (!first_.empty()) summary.update({{"first", first_}, {"last", last_}});
    summary["types"] = types_;
    summary["severities"] = severities_;
    for (const char* key : {"found", "notes"}) summary[key] = nlohmann::ordered_json::object();
    for (const auto& [kind, count] : found_) {
        summary[isNote(kind) ? "notes" : "found"][wordsOf(kind).key] = count;
    }
    stream << summary.dump(2) << '\n';
}

}  // namespace KorvelCheck
