// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/Monitor.h>

using namespace Korvel::Extras;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

/// The counts in the order accepted, refused, delivered, waiting, lost.
std::vector<std::uint64_t> countsOf(const Monitor& monitor) {
    const MonitorSnapshot now = monitor.snapshot();
    return {now.accepted, now.refused, now.delivered, now.waiting, now.lost};
}
using Counts = std::vector<std::uint64_t>;

std::shared_ptr<Sink> fragileSink() {
    return std::make_shared<LambdaSink>([](const Message& entry) {
        if (entry.at("message").getString() == "fatal") throw 42;
    });
}

MonitorOptions watching(std::chrono::milliseconds interval, bool restart) {
    MonitorOptions options;
    options.interval = interval;
    options.restart = restart;
    options.restartPause = 0ms;
    return options;
}

/// Returns once the watcher has looked many times while an entry waited.
MonitorSnapshot afterLongWait(const Monitor& monitor) {
    MonitorSnapshot now;
    while ((now = monitor.snapshot()).oldestWaiting < 50ms) std::this_thread::yield();
    return now;
}

}  // namespace

TEST(Monitor, CountsUnderLoadWhatIsDeliveredAndWhatDyingWorkersLose) {
    constexpr int ENTRIES = 20000;
    std::uint64_t delivered = 0;
    const auto handler = std::make_shared<SinkHandler>();
    handler->installSink(fragileSink());
    handler->installSink(std::make_shared<LambdaSink>([&](const Message&) { ++delivered; }));
    Monitor monitor(handler, watching(1ms, true));
    std::vector<JoiningThread> callers;
    for (int thread = 0; thread < 4; ++thread) {
        callers.emplace_back([&] {
            for (int i = 1; i <= ENTRIES; ++i) {
                monitor.log(i % (ENTRIES / 2) == 0 ? "fatal" : "x", {});
                if (i % 1000 == 0) monitor.flush();
                const MonitorSnapshot now = monitor.snapshot();
                ASSERT_EQ(now.accepted, now.delivered + now.waiting + now.lost);
            }
        });
    }
    callers.clear();
    while (monitor.snapshot().waiting > 0) std::this_thread::yield();
    monitor.stopWatching();
    handler->stopProcessing();
    EXPECT_FALSE(monitor.log("refused", {}));
    constexpr auto ALL = std::uint64_t{4} * ENTRIES;
    EXPECT_EQ(countsOf(monitor), (Counts{ALL, 1, delivered, 0, ALL - delivered}));
    const std::uint64_t restarts = monitor.snapshot().restarts;
    EXPECT_TRUE(restarts >= 1 && restarts <= 8) << restarts;
}

TEST(Monitor, CountsTheBatchOfADeadWorkerAsLostWhenAnotherOneRuns) {
    const auto handler = std::make_shared<SinkHandler>(false);
    handler->installSink(fragileSink());
    Monitor monitor(handler, watching(0ms, false));
    for (const char* type : {"delivered", "fatal", "lost"}) monitor.log(type, {});
    monitor.flush();
    EXPECT_EQ(countsOf(monitor), (Counts{3, 0, 0, 3, 0}));

    handler->startProcessing();
    handler->flush();
    monitor.log("kept", {});
    monitor.flush();
    EXPECT_EQ(countsOf(monitor), (Counts{4, 0, 1, 3, 0}));
    EXPECT_FALSE(monitor.snapshot().workerAlive);

    handler->startProcessing();
    monitor.flush();  // Notices the new worker,
    monitor.flush();  // and relies on it.
    EXPECT_EQ(countsOf(monitor), (Counts{4, 0, 2, 0, 2}));
    EXPECT_TRUE(monitor.snapshot().workerAlive);
}

TEST(Monitor, RestartsNeitherABusyWorkerNorOneThatNobodyStarted) {
    const auto unstarted = std::make_shared<SinkHandler>(false);
    Monitor idle(unstarted, watching(1ms, true));
    idle.log("waits", {});
    EXPECT_FALSE(afterLongWait(idle).workerAlive);
    EXPECT_EQ(countsOf(idle), (Counts{1, 0, 0, 1, 0}));

    const auto handler = std::make_shared<SinkHandler>();
    const auto holding = std::make_shared<HoldingSink>();
    handler->installSink(holding);
    Monitor busy(handler, watching(1ms, true));
    for (int i = 0; i < 100; ++i) busy.log("waits", {});
    const MonitorSnapshot held = afterLongWait(busy);
    holding->released.open();
    EXPECT_TRUE(held.workerAlive);
    EXPECT_EQ(held.highestWaiting, 100U);
    EXPECT_FALSE(held.lastDelivery);
    EXPECT_EQ(idle.snapshot().restarts + busy.snapshot().restarts, 0U);
}

TEST(Monitor, KnowsTheAgeOfTheOldestWaitingEntry) {
    constexpr int ENTRIES = 30000;
    const auto handler = std::make_shared<SinkHandler>();
    HoldingSink first;
    HoldingSink middle;
    int entries = 0;
    handler->installSink(std::make_shared<LambdaSink>([&](const Message& entry) {
        ++entries;
        if (entries == 1) first.append(entry);
        if (entries == ENTRIES / 2) middle.append(entry);
    }));
    Monitor monitor(handler, watching(0ms, false));
    Clock::time_point begin;
    Clock::time_point end;
    for (int i = 1; i <= ENTRIES; ++i) {
        if (i == ENTRIES / 2) begin = Clock::now();
        monitor.log("x", {});
        monitor.snapshot();
        if (i == ENTRIES / 2) end = Clock::now();
    }
    first.released.open();
    middle.entered.wait();
    const auto least = (Clock::now() - end) * 63 / 64 - 1ms;
    const auto age = monitor.snapshot().oldestWaiting;
    EXPECT_GE(age, least);
    EXPECT_LE(age, Clock::now() - begin);
    middle.released.open();
    monitor.flush();
    EXPECT_EQ(monitor.snapshot().oldestWaiting, 0ms);
}

TEST(Monitor, SnapshotIsAMessage) {
    const auto handler = std::make_shared<SinkHandler>();
    const auto record = std::make_shared<RecordingSink>();
    handler->installSink(record);
    MonitorOptions options;
    options.failed["file"] = [] { return std::uint64_t{7}; };
    Monitor monitor(handler, std::move(options));
    monitor.log("first", {});
    monitor.flush();
    monitor.log("snapshot", toMessage(monitor.snapshot()));
    monitor.flush();
    EXPECT_EQ(withoutTimes(record->entries.at(1)),
              R"({"accepted":1,"delivered":1,"failed":{"file":7},"highestWaiting":1,)"
              R"("lastDelivery":"TIME","lost":0,"message":"snapshot","oldestWaitingMs":0,)"
              R"("refused":0,"restarts":0,"waiting":0,"workerAlive":true})");
}
