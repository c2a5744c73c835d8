#pragma once

#include "Progress.h"

#include <Korvel/FileSink.h>
#include <Korvel/Logger.h>
#include <Korvel/SinkHandler.h>

#include <cstdint>
#include <filesystem>
#include <memory>

namespace DiskCheck {

class DeliveryCount;

/// The logger of this program and its sinks: all entries go to a file, and those for people also to
/// standard output.
///
/// Errors: `std::runtime_error` with a sentence for the user, from the constructor if the file
/// cannot be written, from close if the log is incomplete.
class LogChain {
public:
    /// Truncates disk_check.jsonl in `directory`, which is created if it is missing. `progress`
    /// must outlive the chain. `staging` also receives all entries; it may be null.
    LogChain(const std::filesystem::path& directory, Progress& progress,
             std::shared_ptr<Korvel::Sink> staging);
    ~LogChain();

    /// Adds "timestamp", "thread" and "number" to every entry. The number counts the entries of its
    /// thread, including this one.
    const std::shared_ptr<Korvel::Logger>& logger() const;

    /// Delivers the queued entries, and checks that all `entries` logged have reached the sinks and
    /// that the sinks could write them.
    void close(std::uint64_t entries);

private:
    void requireFile() const;

    const std::filesystem::path path_;
    std::shared_ptr<Korvel::FileSink> file_;
    std::shared_ptr<DeliveryCount> delivered_;
    std::shared_ptr<Korvel::SinkHandler> handler_;
    std::shared_ptr<Korvel::Logger> logger_;
};

}  // namespace DiskCheck
