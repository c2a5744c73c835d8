// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "command_line/Progress.h"

#include <Korvel/Extras/Monitor.h>
#include <Korvel/FileSink.h>
#include <Korvel/Logger.h>
#include <Korvel/SinkHandler.h>

#include <cstdint>
#include <filesystem>
#include <memory>

namespace DiskCheck {

/// The logger of this program and its sinks. All entries go to a file, and those for people also to
/// standard output.
///
/// Errors: `std::runtime_error` with a sentence for the user, from the constructor if the file
/// cannot be written, from close if the log is not whole.
class LogChain {
public:
    /// Truncates disk_check.jsonl in `directory`, which is made if it is missing. `progress` must
    /// outlive the chain. `staging` gets all entries too; it may be null.
    LogChain(const std::filesystem::path& directory, CommandLine::Progress& progress,
             std::shared_ptr<Korvel::Sink> staging);
    ~LogChain();

    /// Makes the caller wait while too many entries are queued. Adds "timestamp", "thread" and
    /// "number", which counts the entries of each thread.
    const std::shared_ptr<Korvel::Logger>& logger() const;

    /// Delivers what is queued and checks that all `entries` logged have reached the sinks, and
    /// that the sinks could write them.
    void close(std::uint64_t entries);

private:
    void requireFile() const;

    const std::filesystem::path path_;
    std::shared_ptr<Korvel::FileSink> file_;
    std::shared_ptr<Korvel::SinkHandler> handler_;
    /// Its counts reveal a sink that has thrown, which ends delivery without a report.
    std::shared_ptr<Korvel::Extras::Monitor> monitor_;
    std::shared_ptr<Korvel::Logger> logger_;
};

}  // namespace DiskCheck
