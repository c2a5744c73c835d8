#include "support/Test.h"

#include <Korvel/Extras/Monitor.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <regex>

using namespace Korvel::Extras;
using namespace std::chrono_literals;

namespace {

/// The counts in the order accepted, refused, delivered, waiting, lost.
using Counts = std::vector<std::uint64_t>;

Counts countsOf(const Monitor& monitor) {
    const MonitorSnapshot now = monitor.snapshot();
    return {now.accepted, now.refused, now.delivered, now.waiting, now.lost};
}

/// A handler that delivers nothing until it is started, and a sink that fails for entries of the
/// type "fatal", in front of one that records.
struct Fixture {
    Fixture() {
        handler->installSink(std::make_shared<LambdaSink>([](const Message& entry) {
            if (entry.at("message").getString() == "fatal") throw 42;
        }));
        handler->installSink(record);
    }

    const std::shared_ptr<SinkHandler> handler = std::make_shared<SinkHandler>(false);
    const std::shared_ptr<RecordingSink> record = std::make_shared<RecordingSink>();
};

MonitorOptions watching(std::chrono::milliseconds interval) {
    MonitorOptions options;
    options.interval = interval;
    return options;
}

MonitorOptions restarting() {
    MonitorOptions options = watching(1ms);
    options.restart = true;
    options.restartPause = 0ms;
    return options;
}

/// Returns once the watcher has looked many times while an entry waited.
MonitorSnapshot afterLongWait(const Monitor& monitor) {
    MonitorSnapshot now;
    while ((now = monitor.snapshot()).oldestWaiting < 50ms) std::this_thread::yield();
    return now;
}

/// Checks a monitor under load: the counts never shrink and never contradict each other.
void checkWhile(const Monitor& monitor, const std::atomic<bool>& isLoaded) {
    MonitorSnapshot before;
    while (isLoaded) {
        const MonitorSnapshot now = monitor.snapshot();
        ASSERT_EQ(now.accepted, now.delivered + now.waiting + now.lost);
        ASSERT_LE(before.accepted, now.accepted);
        ASSERT_LE(before.delivered, now.delivered);
        ASSERT_LE(before.lost, now.lost);
        ASSERT_LE(now.waiting, now.highestWaiting);
        before = now;
    }
}

}  // namespace

TEST(Monitor, CountsUnderLoadWhatTheFileContainsAndWhatDyingWorkersLose) {
    constexpr int ENTRIES = 20000;
    const TemporaryDirectory directory;
    const auto file = FileSink::create(directory.path / "log", true, false, ~std::uint64_t{0});
    const Fixture fixture;
    fixture.handler->installSink(file);
    fixture.handler->startProcessing();
    Monitor monitor(fixture.handler, restarting());
    std::atomic<bool> isLoaded = true;
    std::atomic<std::uint64_t> accepted = 0;
    {
        const JoiningThread checker([&] { checkWhile(monitor, isLoaded); });
        {
            std::vector<JoiningThread> callers;
            for (int thread = 0; thread < 4; ++thread) {
                callers.emplace_back([&] {
                    for (int i = 1; i <= ENTRIES; ++i) {
                        accepted += monitor.log(i % (ENTRIES / 2) == 0 ? "fatal" : "x", {});
                        if (i % 1000 == 0) monitor.flush();
                    }
                });
            }
        }
        isLoaded = false;
    }
    while (monitor.snapshot().waiting > 0) std::this_thread::yield();
    monitor.stopWatching();
    fixture.handler->stopProcessing();
    EXPECT_FALSE(monitor.log("refused", {}));

    const std::string text = readFile(directory.path / "log");
    const auto lines = static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
    EXPECT_EQ(accepted, 4 * ENTRIES);
    EXPECT_EQ(countsOf(monitor), (Counts{accepted, 1, lines, 0, accepted - lines}));
    EXPECT_GE(accepted - lines, 1U);
    const MonitorSnapshot end = monitor.snapshot();
    EXPECT_TRUE(end.restarts >= 1 && end.restarts <= 8) << end.restarts;
}

TEST(Monitor, LosesTheBatchOfADeadWorkerOnlyWhenTheApplicationStartsAnotherOne) {
    const Fixture fixture;
    Monitor monitor(fixture.handler, watching(0ms));
    EXPECT_FALSE(monitor.snapshot().workerAlive);
    for (const char* type : {"delivered", "fatal", "lost"}) monitor.log(type, {});
    monitor.flush();
    EXPECT_EQ(countsOf(monitor), (Counts{3, 0, 0, 3, 0}));

    fixture.handler->startProcessing();
    fixture.handler->flush();
    monitor.log("kept", {});
    monitor.flush();
    EXPECT_EQ(countsOf(monitor), (Counts{4, 0, 1, 3, 0}));
    EXPECT_FALSE(monitor.snapshot().workerAlive);

    fixture.handler->startProcessing();
    monitor.flush();
    monitor.flush();
    EXPECT_EQ(countsOf(monitor), (Counts{4, 0, 2, 0, 2}));
    EXPECT_TRUE(monitor.snapshot().workerAlive);
    EXPECT_EQ(fixture.record->entries,
              (Entries{R"({"message":"delivered"})", R"({"message":"kept"})"}));
    EXPECT_THROW(Monitor(nullptr), std::invalid_argument);
}

TEST(Monitor, RestartsAWorkerThatDiedBeforeItDeliveredAnything) {
    const Fixture fixture;
    fixture.handler->startProcessing();
    Monitor monitor(fixture.handler, restarting());
    monitor.log("fatal", {});
    while (monitor.snapshot().waiting > 0) std::this_thread::yield();
    EXPECT_EQ(countsOf(monitor), (Counts{1, 0, 0, 0, 1}));
    EXPECT_EQ(monitor.snapshot().restarts, 1U);
}

TEST(Monitor, RestartsNeitherABusyWorkerNorOneThatNobodyStarted) {
    const Fixture fixture;
    Monitor idle(fixture.handler, restarting());
    idle.log("waits", {});
    const MonitorSnapshot unstarted = afterLongWait(idle);
    EXPECT_FALSE(unstarted.workerAlive);
    EXPECT_EQ(unstarted.restarts, 0U);
    EXPECT_EQ(countsOf(idle), (Counts{1, 0, 0, 1, 0}));

    const auto handler = std::make_shared<SinkHandler>();
    const auto holding = std::make_shared<HoldingSink>();
    handler->installSink(holding);
    Monitor busy(handler, restarting());
    busy.log("held", {});
    holding->entered.wait();
    for (int i = 0; i < 99; ++i) busy.log("waits", {});
    const MonitorSnapshot held = afterLongWait(busy);
    EXPECT_TRUE(held.workerAlive);
    EXPECT_EQ(held.highestWaiting, 100U);
    EXPECT_FALSE(held.lastDelivery);
    holding->released.open();
    busy.flush();
    const MonitorSnapshot end = busy.snapshot();
    EXPECT_EQ(end.delivered, 100U);
    EXPECT_EQ(end.restarts, 0U);
    EXPECT_EQ(end.oldestWaiting, 0ms);
    EXPECT_TRUE(end.lastDelivery);
}

TEST(Monitor, TellsTheAgeOfTheOldestWaitingEntryOnly) {
    const auto handler = std::make_shared<SinkHandler>();
    HoldingSink first;
    HoldingSink second;
    int entries = 0;
    handler->installSink(std::make_shared<LambdaSink>(
        [&](const Message& entry) { (++entries == 1 ? first : second).append(entry); }));
    Monitor monitor(handler, watching(0ms));
    monitor.log("old", {});
    first.entered.wait();
    afterLongWait(monitor);
    monitor.log("young", {});
    const auto youngest = std::chrono::steady_clock::now();
    EXPECT_GE(monitor.snapshot().oldestWaiting, 50ms);
    first.released.open();
    second.entered.wait();
    const auto age = monitor.snapshot().oldestWaiting;
    EXPECT_LE(age, std::chrono::steady_clock::now() - youngest);
    second.released.open();
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
    const std::string entry = std::regex_replace(
        record->entries.at(1), std::regex(R"("20\d\d-\d\d-\d\dT[0-9:]{8}\.\d{3}Z")"), "\"time\"");
    EXPECT_EQ(entry, R"({"accepted":1,"delivered":1,"failed":{"file":7},"highestWaiting":1,)"
                     R"("lastDelivery":"time","lost":0,"message":"snapshot","oldestWaitingMs":0,)"
                     R"("refused":0,"restarts":0,"waiting":0,"workerAlive":true})");
    EXPECT_EQ(toMessage(MonitorSnapshot())["lastDelivery"].toJson(false, ""), "null");
}
