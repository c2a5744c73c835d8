// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/Measure.h"
#include "pipeline/Modes.h"
#include "pipeline/Subject.h"
#include "support/TemporaryPath.h"

#include <fstream>
#include <iostream>
#include <latch>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

namespace Bench {
namespace {

/// Waits for a point in time without sleeping, because a sleep could overrun by more than the gap.
/// If the producers occupy every processor, they yield to the worker meanwhile.
void spinUntil(Clock::time_point moment, bool yields) {
    while (Clock::now() < moment) {
        if (yields) std::this_thread::yield();
    }
}

/// The entries `first`, `first + step` and so on, one per element of `times`.
struct Share {
    unsigned first;
    unsigned step;
    Times times;
};

void produce(Producer& producer, Share& share, const Arguments& arguments) {
    const bool yields = arguments.producers >= std::thread::hardware_concurrency();
    Clock::time_point due = Clock::now();
    unsigned number = share.first;
    for (std::uint32_t& time : share.times) {
        if (arguments.gap.count() > 0) spinUntil(due, yields);
        due += arguments.gap;
        time = timeOf([&] { producer.log(number); });
        number += share.step;
    }
}

std::vector<Share> makeShares(const Arguments& arguments) {
    std::vector<Share> shares;
    for (unsigned i = 0; i < arguments.producers; ++i) {
        const unsigned rest = i < arguments.entries % arguments.producers ? 1 : 0;
        shares.push_back(
            {i, arguments.producers, Times(arguments.entries / arguments.producers + rest)});
    }
    return shares;
}

struct Spent {
    Clock::time_point moment;
    double cpu = 0;
};

Spent spentNow() {
    return {Clock::now(), cpuTime()};
}

/// Starts all producers at once and returns the time spent up to that point.
Spent produceAll(Subject& subject, std::vector<Share>& shares, const Arguments& arguments) {
    std::latch ready(arguments.producers + 1);
    std::latch start(1);
    std::vector<std::thread> threads;
    threads.reserve(shares.size());
    for (Share& share : shares) {
        threads.emplace_back([&] {
            const auto producer = subject.makeProducer();
            ready.count_down();
            start.wait();
            produce(*producer, share, arguments);
        });
    }
    ready.arrive_and_wait();
    const Spent begin = spentNow();
    start.count_down();
    for (std::thread& thread : threads) thread.join();
    return begin;
}

Times allTimes(const std::vector<Share>& shares) {
    Times all;
    for (const Share& share : shares) all.insert(all.end(), share.times.begin(), share.times.end());
    return all;
}

void requireAllLines(const std::filesystem::path& file, std::size_t expected) {
    const std::size_t lines = countLines(file);
    if (lines == expected) return;
    throw std::runtime_error("The file has " + std::to_string(lines) + " lines where " +
                             std::to_string(expected) + " are due.");
}

}  // namespace

void runPipeline(const Arguments& arguments) {
    const TemporaryPath file(arguments.directory, arguments.subject);
    std::vector<Share> shares = makeShares(arguments);
    Spent end;
    Spent begin;
    {
        const auto subject =
            makeSubject(arguments.subject, {file.path(), arguments.entries, false});
        begin = produceAll(*subject, shares, arguments);
        subject->drain([&] { end = spentNow(); });
    }
    requireAllLines(file.path(), arguments.entries);
    const std::chrono::duration<double, std::nano> span = end.moment - begin.moment;
    Report()
        .add("subject", arguments.subject)
        .add("producers", arguments.producers)
        .add("entries", arguments.entries)
        .add("call", allTimes(shares))
        .add("done", span.count() / arguments.entries)
        .add("cpu", (end.cpu - begin.cpu) / arguments.entries)
        .print();
}

void workPipeline(const Arguments& arguments) {
    const auto file = arguments.directory / (arguments.subject + "-work.jsonl");
    const auto subject = makeSubject(arguments.subject, {file, arguments.entries, false});
    const auto producer = subject->makeProducer();
    for (unsigned i = 0; i < arguments.entries; ++i) producer->log(i);
    subject->drain([] {});
    Report().add("file", file.string()).print();
}

void showLine(const Arguments& arguments) {
    const TemporaryPath file(arguments.directory, arguments.subject);
    {
        const auto subject = makeSubject(arguments.subject, {file.path(), 1, false});
        subject->makeProducer()->log(1);
        subject->drain([] {});
    }
    std::cout << std::ifstream(file.path()).rdbuf();
}

void measureHeap(const Arguments& arguments) {
    const TemporaryPath file(arguments.directory, arguments.subject);
    const std::size_t before = heapInUse();
    const auto subject = makeSubject(arguments.subject, {file.path(), arguments.entries, true});
    const auto producer = subject->makeProducer();
    for (unsigned i = 0; i < arguments.entries; ++i) producer->log(i);
    const auto held = static_cast<double>(heapInUse() - before);
    Report().add("subject", arguments.subject).add("heap", held / arguments.entries).print();
}

}  // namespace Bench
