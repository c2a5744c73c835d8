// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "FileFacts.h"

#include "ReadableText.h"

#include <Korvel/Functions.h>

#include <chrono>
#include <system_error>

namespace DiskCheck {
namespace {

using std::filesystem::file_type;

void addModified(FileFacts& facts, const std::filesystem::path& path) {
    using Clock = std::chrono::system_clock;
    using FileClock = std::filesystem::file_time_type::clock;
    std::error_code error;
    const auto time = std::filesystem::last_write_time(path, error);
    if (error) {
        facts.problems.push_back(problemText(L"The modification time cannot be read", error));
    } else if (time > FileClock::from_sys((Clock::time_point::max)())) {
        // The file clock covers two centuries more than the system clock, and times before its
        // range wrap around into them.
        facts.problems.emplace_back(L"The modification time is out of range");
    } else {
        const auto systemTime = FileClock::to_sys(time);
        facts.modified =
            Korvel::createIso8601String(std::chrono::time_point_cast<Clock::duration>(systemTime));
    }
}

void addSize(FileFacts& facts, const std::filesystem::path& path) {
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(path, error);
    if (error) {
        facts.problems.push_back(problemText(L"The size cannot be read", error));
    } else {
        facts.size = size;
    }
}

void checkLink(FileFacts& facts, const std::filesystem::path& path) {
    std::error_code error;
    const file_type target = std::filesystem::status(path, error).type();
    if (target == file_type::not_found) {
        facts.problems.emplace_back(L"The link leads nowhere");
    } else if (error) {
        facts.problems.push_back(problemText(L"The link cannot be followed", error));
    }
}

void addDetails(FileFacts& facts, const std::filesystem::path& path) {
    if (facts.type == file_type::symlink) {
        checkLink(facts, path);
        return;
    }
    if (facts.type == file_type::regular) addSize(facts, path);
    addModified(facts, path);
}

}  // namespace

bool FileFacts::isKnown() const {
    return type != file_type::none && type != file_type::not_found;
}

bool FileFacts::isDirectory() const {
    return type == file_type::directory;
}

FileFacts inspect(const std::filesystem::path& path) {
    FileFacts facts;
    std::error_code error;
    facts.type = std::filesystem::symlink_status(path, error).type();
    if (facts.isKnown()) {
        addDetails(facts, path);
    } else if (facts.type == file_type::not_found) {
        facts.problems.emplace_back(L"The file has vanished during the walk");
    } else {
        facts.problems.push_back(problemText(L"The file cannot be examined", error));
    }
    // Only the last name is checked; otherwise everything below a badly named directory would be a
    // problem.
    if (!readablePath(path.filename()).isExact) {
        facts.problems.emplace_back(L"The name is not valid text and is shown with escapes");
    }
    return facts;
}

std::wstring problemText(const std::wstring& what, const std::error_code& error) {
    // The system's message can be in any encoding.
    return what + L": " + makeReadable(error.message()).text;
}

}  // namespace DiskCheck
