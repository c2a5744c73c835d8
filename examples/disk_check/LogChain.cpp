// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "LogChain.h"

#include "MakeDirectory.h"

#include <Korvel/ConsoleSink.h>
#include <Korvel/Extender.h>
#include <Korvel/Extras/BoundedLogger.h>
#include <Korvel/Filter.h>
#include <Korvel/Functions.h>

#include <chrono>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace DiskCheck {

namespace {

using Korvel::Message;

constexpr std::uint64_t ALL_ONES = (std::numeric_limits<std::uint64_t>::max)();

/// Walkers find files faster than one file takes lines, so they have to wait for the log.
constexpr std::uint64_t MOST_WAITING = 4096;
constexpr std::chrono::hours LONGEST_WAIT{24};

/// Clears the progress line while its target writes to the terminal.
class AsideSink : public Korvel::Sink {
public:
    AsideSink(std::shared_ptr<Korvel::Sink> target, CommandLine::Progress& progress)
        : target_(std::move(target)), progress_(progress) {}

    void flush() override { target_->flush(); }

    void append(const Message& message) override {
        progress_.stepAside([&] { target_->append(message); });
    }

private:
    std::shared_ptr<Korvel::Sink> target_;
    CommandLine::Progress& progress_;
};

bool isForPeople(const Message& entry) {
    return entry.at(L"message").getWstring() != L"FileSeen";
}

Message nextNumber(const Message&) {
    thread_local std::uint64_t number = 0;
    return Message(++number);
}

std::shared_ptr<Korvel::Sink> makeConsole(CommandLine::Progress& progress) {
    auto console = std::make_shared<AsideSink>(std::make_shared<Korvel::ConsoleSink>(), progress);
    return std::make_shared<Korvel::Filter>(std::move(console), isForPeople);
}

std::shared_ptr<Korvel::Logger> makeExtenders(std::shared_ptr<Korvel::Logger> logger) {
    logger = Korvel::createTimestampExtender(std::move(logger), L"timestamp");
    logger = Korvel::createThreadIdExtender(std::move(logger), L"thread");
    return std::make_shared<Korvel::Extender>(std::move(logger), L"number", nextNumber);
}

}  // namespace

LogChain::LogChain(const std::filesystem::path& directory, CommandLine::Progress& progress,
                   std::shared_ptr<Korvel::Sink> staging)
    : path_(directory / "disk_check.jsonl"),
      handler_(std::make_shared<Korvel::SinkHandler>(false)) {
    makeDirectory(directory);
    file_ = std::make_shared<Korvel::FileSink>(path_, true, false, ALL_ONES);
    requireFile();
    handler_->installSink(file_);
    handler_->installSink(std::move(staging));  // A null sink is refused without harm.
    handler_->installSink(makeConsole(progress));
    handler_->startProcessing();
    monitor_ = std::make_shared<Korvel::Extras::Monitor>(handler_);
    Korvel::Extras::BoundedLoggerOptions bounds;
    bounds.ceiling = MOST_WAITING;
    bounds.wait = LONGEST_WAIT;
    logger_ = makeExtenders(std::make_shared<Korvel::Extras::BoundedLogger>(monitor_, bounds));
}

LogChain::~LogChain() = default;

const std::shared_ptr<Korvel::Logger>& LogChain::logger() const {
    return logger_;
}

void LogChain::close(std::uint64_t entries) {
    handler_->stopProcessing();
    requireFile();
    const std::uint64_t delivered = monitor_->snapshot().delivered;
    if (delivered != entries) {
        throw std::runtime_error("Only " + std::to_string(delivered) + " of " +
                                 std::to_string(entries) + " entries have been delivered.");
    }
    if (!std::cout) throw std::runtime_error("Cannot write to standard output.");
}

void LogChain::requireFile() const {
    if (file_->getSize() == ALL_ONES) {
        throw std::runtime_error("Cannot write the file " + path_.string() + ".");
    }
}

}  // namespace DiskCheck
