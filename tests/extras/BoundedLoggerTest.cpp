#include "support/OperatorNew.h"
#include "support/Test.h"

#include <Korvel/Extras/BoundedLogger.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>

using namespace Korvel::Extras;
using namespace std::chrono_literals;

namespace {

/// A started handler whose worker the first entry holds, behind a monitor without a watcher.
struct Fixture {
    explicit Fixture(std::chrono::milliseconds interval = 0ms) {
        handler->installSink(holding);
        handler->installSink(record);
        MonitorOptions options;
        options.interval = interval;
        monitor = std::make_shared<Monitor>(handler, std::move(options));
    }
    ~Fixture() { holding->released.open(); }

    /// What the sink has received, as "type" or as "number by severity" of a note.
    Entries received() {
        holding->released.open();
        handler->flush();
        Entries result;
        for (const std::string& entry : record->entries) {
            const nlohmann::json json = nlohmann::json::parse(entry);
            const bool isNote = json.at("message") == "EntriesRefused";
            result.push_back(isNote ? json.at("number").dump() + " " + json.at("bySeverity").dump()
                                    : json.at("message").get<std::string>());
        }
        return result;
    }

    const std::shared_ptr<HoldingSink> holding = std::make_shared<HoldingSink>();
    const std::shared_ptr<RecordingSink> record = std::make_shared<RecordingSink>();
    const std::shared_ptr<SinkHandler> handler = std::make_shared<SinkHandler>();
    std::shared_ptr<Monitor> monitor;
};

BoundedLoggerOptions ceilingOf(std::uint64_t ceiling, std::chrono::milliseconds wait = 0ms) {
    BoundedLoggerOptions options;
    options.ceiling = ceiling;
    options.wait = wait;
    return options;
}

}  // namespace

TEST(BoundedLogger, BlockedSinkNeverMakesFourThreadsExceedTheCeiling) {
    constexpr std::uint64_t CEILING = 1000;
    constexpr int OFFERED = 5000;
    const Message payload = {{"text", "longer than a Message holds without a block of its own"}};
    Fixture fixture;
    BoundedLogger logger(fixture.monitor, ceilingOf(CEILING));
    logger.log("first", payload);
    fixture.holding->entered.wait();
    std::atomic<std::uint64_t> accepted = 1;
    const int blocksBefore = liveBlocks;
    {
        std::vector<JoiningThread> callers;
        for (int thread = 0; thread < 4; ++thread) {
            callers.emplace_back([&] {
                for (int i = 0; i < OFFERED; ++i) accepted += logger.log("x", payload);
            });
        }
    }
#ifndef _WIN32
    // Two blocks for each entry, and a few of the queue and the threads.
    EXPECT_LT(liveBlocks - blocksBefore, 2 * CEILING + 500);
#endif
    // An eighth is kept for errors.
    EXPECT_EQ(accepted, CEILING * 7 / 8);
    const MonitorSnapshot blocked = fixture.monitor->snapshot();
    EXPECT_EQ(blocked.accepted, accepted);
    EXPECT_EQ(blocked.accepted + blocked.refused, 4 * OFFERED + 1);
    EXPECT_EQ(blocked.highestWaiting, accepted);

    const Entries received = fixture.received();
    EXPECT_EQ(received.size(), accepted);
    logger.flush();
    const std::string number = std::to_string(blocked.refused);
    EXPECT_EQ(fixture.received().back(), number + R"( {"none":)" + number + "}");
}

TEST(BoundedLogger, FourThreadsNeverExceedTheCeilingWhileASinkDelivers) {
    constexpr int OFFERED = 20000;
    for (const auto wait : {0ms, 60000ms}) {
        const auto handler = std::make_shared<SinkHandler>();
        const auto record = std::make_shared<RecordingSink>();
        handler->installSink(record);
        const auto monitor = std::make_shared<Monitor>(handler);
        const auto start = std::chrono::steady_clock::now();
        std::atomic<std::uint64_t> accepted = 0;
        {
            BoundedLogger logger(monitor, ceilingOf(100, wait));
            std::vector<JoiningThread> callers;
            for (int thread = 0; thread < 4; ++thread) {
                callers.emplace_back([&] {
                    for (int i = 0; i < OFFERED; ++i) accepted += logger.log("x", {});
                });
            }
            callers.clear();
        }
        handler->flush();
        std::uint64_t noted = 0;
        std::uint64_t notes = 0;
        for (const std::string& entry : record->entries) {
            const nlohmann::json json = nlohmann::json::parse(entry);
            if (json.at("message") != "EntriesRefused") continue;
            noted += json.at("number").get<std::uint64_t>();
            ++notes;
        }
        const MonitorSnapshot end = monitor->snapshot();
        EXPECT_EQ(accepted + noted, 4 * OFFERED);
        EXPECT_EQ(end.refused, noted);
        EXPECT_EQ(end.accepted, accepted + notes);
        EXPECT_EQ(end.delivered, record->entries.size());
        EXPECT_LE(end.highestWaiting, 100U);
        if (wait > 0ms) {
            EXPECT_EQ(noted, 0U);
        }
        const auto seconds = std::chrono::steady_clock::now() - start;
        EXPECT_LE(notes, 2 + seconds / 1s);
    }
}

TEST(BoundedLogger, KeepsPlacesForErrorsAndOneForTheNote) {
    Fixture fixture;
    BoundedLogger logger(fixture.monitor, ceilingOf(8));
    const auto logAll = [&](const char* severity) {
        int accepted = 0;
        for (int i = 0; i < 10; ++i) accepted += logger.log(severity, {{"severity", severity}});
        return accepted;
    };
    BoundedLoggerOptions half = ceilingOf(8);
    half.reserve = 0.5;
    BoundedLogger modest(fixture.monitor, half);
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(modest.log("modest", {}));
    EXPECT_FALSE(modest.log("modest", {}));
    EXPECT_EQ(logAll("info"), 3);
    EXPECT_EQ(logAll("error"), 0);
    half.ceiling = 10;
    BoundedLogger larger(fixture.monitor, half);
    EXPECT_FALSE(larger.log("warning", {{"severity", "warning"}}));
    EXPECT_TRUE(larger.log("critical", {{"severity", "critical"}}));
    EXPECT_TRUE(larger.log("error", {{"severity", "error"}}));
    EXPECT_FALSE(larger.log("error", {{"severity", "error"}}));
    EXPECT_EQ(fixture.received(), (Entries{"modest", "modest", "modest", "modest", "info", "info",
                                           "info", "critical", "error"}));
    logger.flush();
    larger.flush();
    const Entries received = fixture.received();
    EXPECT_EQ(received.at(9), R"(17 {"error":10,"info":7})");
    EXPECT_EQ(received.at(10), R"(2 {"error":1,"warning":1})");
    EXPECT_THROW(BoundedLogger(fixture.monitor, ceilingOf(1)), std::invalid_argument);
    EXPECT_THROW(BoundedLogger(nullptr), std::invalid_argument);
}

TEST(BoundedLogger, NotesRefusalsWhenRoomReturnsAndAtTheEnd) {
    Fixture fixture(1ms);
    {
        BoundedLogger logger(fixture.monitor, ceilingOf(3));
        logger.log("x", {});
        fixture.holding->entered.wait();
        EXPECT_TRUE(logger.log("x", {}));
        EXPECT_FALSE(logger.log("x", {{"severity", "info"}}));
        EXPECT_EQ(fixture.received(), (Entries{"x", "x"}));
        // The watcher sends the note, though nothing more is logged.
        while (fixture.monitor->snapshot().accepted < 3) std::this_thread::yield();
        EXPECT_EQ(fixture.received(), (Entries{"x", "x", R"(1 {"info":1})"}));
        while (logger.log("x", {{"severity", "loud"}})) continue;
    }
    EXPECT_EQ(fixture.received().back(), R"(1 {"none":1})");
    EXPECT_EQ(fixture.monitor->snapshot().refused, 2U);
}

TEST(BoundedLogger, WaitsForAPlaceButNeverInVain) {
    Fixture fixture;
    BoundedLogger patient(fixture.monitor, ceilingOf(3, 1h));
    BoundedLogger hurried(fixture.monitor, ceilingOf(3, 20ms));
    patient.log("first", {});
    fixture.holding->entered.wait();
    patient.log("second", {});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(hurried.log("refused", {}));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
    {
        std::vector<JoiningThread> callers;
        for (int i = 0; i < 3; ++i) {
            callers.emplace_back([&] { EXPECT_TRUE(patient.log("waited", {})); });
        }
        EXPECT_FALSE(hurried.log("refused", {}));
        fixture.holding->released.open();
    }
    EXPECT_EQ(fixture.received(), (Entries{"first", "second", "waited", "waited", "waited"}));

    // Without a worker, and on its thread.
    fixture.handler->stopProcessing();
    const auto handler = std::make_shared<SinkHandler>(false);
    std::shared_ptr<Logger> inner;
    std::atomic<bool> isRefused = false;
    handler->installSink(std::make_shared<LambdaSink>(
        [&](const Message&) { isRefused = !inner->log("from a sink", {}); }));
    inner = std::make_shared<BoundedLogger>(std::make_shared<Monitor>(handler), ceilingOf(2, 1h));
    EXPECT_TRUE(inner->log("waits", {}));
    EXPECT_FALSE(inner->log("refused", {}));
    handler->startProcessing();
    handler->flush();
    isRefused = false;
    EXPECT_TRUE(inner->log("calls log", {}));
    handler->flush();
    EXPECT_TRUE(isRefused);
    handler->stopProcessing();
}

TEST(BoundedLogger, OpensAgainAfterASinkThrewAwayABatch) {
    for (const bool restart : {false, true}) {
        Gate gate;
        const auto handler = std::make_shared<SinkHandler>(restart);
        handler->installSink(std::make_shared<LambdaSink>([&gate](const Message& entry) {
            gate.wait();
            if (entry.at("message").getString() == "fatal") throw 42;
        }));
        const auto record = std::make_shared<RecordingSink>();
        handler->installSink(record);
        MonitorOptions options;
        options.interval = 1ms;
        options.restart = restart;
        const auto monitor = std::make_shared<Monitor>(handler, std::move(options));
        BoundedLogger logger(monitor, ceilingOf(8));
        int accepted = 0;
        while (logger.log(accepted == 0 ? "fatal" : "x", {})) ++accepted;
        EXPECT_EQ(accepted, 7);
        gate.open();
        for (int i = 0; i < (restart ? 0 : 2); ++i) {
            handler->startProcessing();
            handler->flush();
        }
        while (!logger.log("admitted", {})) std::this_thread::yield();
        while (monitor->snapshot().waiting > 0) std::this_thread::yield();
        monitor->stopWatching();
        handler->stopProcessing();
        const MonitorSnapshot end = monitor->snapshot();
        EXPECT_EQ(end.delivered, record->entries.size());
        EXPECT_GE(end.lost, restart ? 1U : 7U);
        EXPECT_EQ(end.accepted, end.delivered + end.lost);
        EXPECT_EQ(end.waiting, 0U);
    }
}
