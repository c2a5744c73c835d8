#include "LogChain.h"

#include "MakeDirectory.h"

#include <Korvel/ConsoleSink.h>
#include <Korvel/Extender.h>
#include <Korvel/Filter.h>
#include <Korvel/Functions.h>

#include <atomic>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace DiskCheck {

/// Counts the entries that all sinks installed before it have accepted. A sink that throws ends
/// delivery without a report, which this count reveals.
class DeliveryCount : public Korvel::Sink {
public:
    void flush() override {}

    void append(const Korvel::Message&) override { ++count_; }

    std::uint64_t count() const { return count_; }

private:
    std::atomic<std::uint64_t> count_ = 0;
};

namespace {

using Korvel::Message;

constexpr std::uint64_t ALL_ONES = (std::numeric_limits<std::uint64_t>::max)();

/// Clears the progress line while its target writes to the terminal.
class AsideSink : public Korvel::Sink {
public:
    AsideSink(std::shared_ptr<Korvel::Sink> target, Progress& progress)
        : target_(std::move(target)), progress_(progress) {}

    void flush() override { target_->flush(); }

    void append(const Message& message) override {
        progress_.stepAside([&] { target_->append(message); });
    }

private:
    std::shared_ptr<Korvel::Sink> target_;
    Progress& progress_;
};

bool isForPeople(const Message& entry) {
    return entry.at(L"message").getWstring() != L"FileSeen";
}

Message nextNumber(const Message&) {
    thread_local std::uint64_t number = 0;
    return Message(++number);
}

std::shared_ptr<Korvel::Sink> makeConsole(Progress& progress) {
    auto console = std::make_shared<AsideSink>(std::make_shared<Korvel::ConsoleSink>(), progress);
    return std::make_shared<Korvel::Filter>(std::move(console), isForPeople);
}

std::shared_ptr<Korvel::Logger> makeExtenders(std::shared_ptr<Korvel::Logger> logger) {
    logger = Korvel::createTimestampExtender(std::move(logger), L"timestamp");
    logger = Korvel::createThreadIdExtender(std::move(logger), L"thread");
    return std::make_shared<Korvel::Extender>(std::move(logger), L"number", nextNumber);
}

}  // namespace

LogChain::LogChain(const std::filesystem::path& directory, Progress& progress,
                   std::shared_ptr<Korvel::Sink> staging)
    : path_(directory / "disk_check.jsonl"),
      delivered_(std::make_shared<DeliveryCount>()),
      handler_(std::make_shared<Korvel::SinkHandler>(false)) {
    makeDirectory(directory);
    file_ = std::make_shared<Korvel::FileSink>(path_, true, false, ALL_ONES);
    requireFile();
    handler_->installSink(file_);
    handler_->installSink(std::move(staging));  // A null sink is refused without harm.
    handler_->installSink(makeConsole(progress));
    handler_->installSink(delivered_);  // Installed last, so it counts what all sinks took.
    handler_->startProcessing();
    logger_ = makeExtenders(handler_);
}

LogChain::~LogChain() = default;

const std::shared_ptr<Korvel::Logger>& LogChain::logger() const {
    return logger_;
}

void LogChain::close(std::uint64_t entries) {
    handler_->stopProcessing();
    requireFile();
    if (delivered_->count() != entries) {
        throw std::runtime_error("Only " + std::to_string(delivered_->count()) + " of " +
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
