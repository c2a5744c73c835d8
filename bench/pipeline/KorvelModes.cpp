// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/Measure.h"
#include "pipeline/Modes.h"
#include "support/KorvelRequest.h"
#include "support/TemporaryPath.h"

#include <Korvel/FileSink.h>
#include <Korvel/LogglySink.h>
#include <Korvel/SinkHandler.h>

#include <memory>
#include <stdexcept>
#include <thread>

namespace Bench {
namespace {

/// Long enough for the worker to fall asleep again.
constexpr std::chrono::microseconds IDLE(300);

void appendAll(Korvel::Sink& sink, const Korvel::Message& entry, Times& times) {
    for (std::uint32_t& time : times) time = timeOf([&] { sink.append(entry); });
}

std::size_t countLinesOfAll(const std::filesystem::path& directory) {
    std::size_t lines = 0;
    for (const auto& file : std::filesystem::directory_iterator(directory)) {
        lines += countLines(file.path());
    }
    return lines;
}

}  // namespace

void measureFlush(const Arguments& arguments) {
    const TemporaryPath file(arguments.directory, "flush");
    Korvel::SinkHandler handler;
    handler.installSink(std::make_shared<Korvel::FileSink>(file.path(), true, false, ~0ULL));
    Times times(arguments.entries);
    for (std::uint32_t& time : times) {
        std::this_thread::sleep_for(IDLE);
        time = timeOf([&] { handler.flush(); });
    }
    Report().add("flush", times).print();
}

void measureRotation(const Arguments& arguments) {
    const TemporaryPath staging(arguments.directory, "staging");
    std::filesystem::create_directories(staging.path());
    const Korvel::Message entry = korvelList(1);
    std::vector<Times> times(arguments.producers, Times(arguments.entries / arguments.producers));
    {
        Korvel::LogglySink sink(staging.path());
        std::vector<std::thread> threads;
        threads.reserve(times.size());
        for (Times& part : times) threads.emplace_back([&] { appendAll(sink, entry, part); });
        for (std::thread& thread : threads) thread.join();
    }
    Times all;
    for (const Times& part : times) all.insert(all.end(), part.begin(), part.end());
    if (countLinesOfAll(staging.path()) != all.size()) throw std::runtime_error("Lines are lost.");
    const auto files = std::distance(std::filesystem::directory_iterator(staging.path()), {});
    Report().add("append", all).add("files", static_cast<double>(files)).print();
}

}  // namespace Bench
