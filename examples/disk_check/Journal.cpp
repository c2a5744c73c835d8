// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Journal.h"

#include "ReadableText.h"

#include <stdexcept>
#include <utility>

namespace DiskCheck {
namespace {

using Korvel::Message;
using std::filesystem::file_type;

const wchar_t* kindOf(file_type type) {
    switch (type) {
    case file_type::regular:
        return L"file";
    case file_type::directory:
        return L"directory";
    case file_type::symlink:
        return L"link";
    default:
        return L"other";
    }
}

}  // namespace

Journal::Journal(std::shared_ptr<Korvel::Logger> logger)
    : logger_(std::move(logger)), start_(std::chrono::steady_clock::now()) {}

void Journal::writeFile(const std::filesystem::path& path, const FileFacts& facts) {
    if (facts.isKnown()) {
        Message entry;
        entry[L"path"] = Message(readablePath(path).text);
        entry[L"kind"] = Message(kindOf(facts.type));
        if (facts.size) entry[L"size"] = Message(*facts.size);
        if (facts.modified) entry[L"modified"] = Message(*facts.modified);
        write(L"FileSeen", entry);
        countFile(facts);
    }
    for (const auto& problem : facts.problems) writeProblem(path, problem);
}

void Journal::writeProblem(const std::filesystem::path& path, const std::wstring& description) {
    Message entry;
    entry[L"path"] = Message(readablePath(path).text);
    entry[L"MessageDescription"] = Message(description);
    write(L"FileProblem", entry);
    ++problems_;
}

void Journal::writeSummary(Message summary) {
    logger_->flush();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
    const double seconds = elapsed.count();
    const std::uint64_t entries = entries_ + 1;  // The summary is an entry too.
    summary[L"MessageDescription"] = Message(L"Disk check finished");
    summary[L"files"] = Message(files_.load());
    summary[L"directories"] = Message(directories_.load());
    summary[L"links"] = Message(links_.load());
    summary[L"others"] = Message(others_.load());
    summary[L"problems"] = Message(problems_.load());
    summary[L"bytes"] = Message(bytes_.load());
    summary[L"entries"] = Message(entries);
    summary[L"seconds"] = Message(seconds);
    // The clock may not advance during a tiny tree, and JSON has no infinity.
    const double rate = seconds > 0 ? static_cast<double>(entries) / seconds : 0;
    summary[L"entriesPerSecond"] = Message(rate);
    write(L"DiskCheck", summary);
}

std::uint64_t Journal::entries() const {
    return entries_;
}

std::string Journal::progressText() const {
    return std::to_string(files_) + " files, " + std::to_string(directories_) + " directories, " +
           std::to_string(problems_) + " problems";
}

void Journal::countFile(const FileFacts& facts) {
    switch (facts.type) {
    case file_type::regular:
        ++files_;
        break;
    case file_type::directory:
        ++directories_;
        break;
    case file_type::symlink:
        ++links_;
        break;
    default:
        ++others_;
    }
    bytes_ += facts.size.value_or(0);
}

void Journal::write(const std::wstring& type, const Message& entry) {
    if (!logger_->log(type, entry)) throw std::runtime_error("The logger has refused an entry.");
    ++entries_;
}

}  // namespace DiskCheck
