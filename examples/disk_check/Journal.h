// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "FileFacts.h"

#include <Korvel/Logger.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace DiskCheck {

/// Logs the walkers' findings and counts them.
///
/// Errors: an entry refused by the logger throws `std::runtime_error`, so a count never includes an
/// entry that is missing from the log.
///
/// Threads: every operation may be called from any thread, but writeSummary only after all others.
class Journal {
public:
    explicit Journal(std::shared_ptr<Korvel::Logger> logger);

    /// Logs a "FileSeen" entry if the file could be examined, and a "FileProblem" entry for each of
    /// its problems.
    void writeFile(const std::filesystem::path& path, const FileFacts& facts);
    void writeProblem(const std::filesystem::path& path, const std::wstring& description);

    /// Logs the counts as the "DiskCheck" entry; `summary` contains further keys. The measured time
    /// runs from construction until all earlier entries are delivered.
    void writeSummary(Korvel::Message summary);

    /// The number of entries that the logger has accepted.
    std::uint64_t entries() const;
    std::string progressText() const;

private:
    using Count = std::atomic<std::uint64_t>;

    void countFile(const FileFacts& facts);
    void write(const std::wstring& type, const Korvel::Message& entry);

    const std::shared_ptr<Korvel::Logger> logger_;
    const std::chrono::steady_clock::time_point start_;
    Count files_ = 0;
    Count directories_ = 0;
    Count links_ = 0;
    Count others_ = 0;
    Count problems_ = 0;
    Count bytes_ = 0;
    Count entries_ = 0;
};

}  // namespace DiskCheck
