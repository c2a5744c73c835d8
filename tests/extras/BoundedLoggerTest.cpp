// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/BoundedLogger.h>

#include <nlohmann/json.hpp>

#include <atomic>

using namespace Korvel::Extras;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

MonitorOptions watching(std::chrono::milliseconds interval) {
    MonitorOptions options;
    options.interval = interval;
    return options;
}

/// A handler behind a monitor. Nothing is delivered before the gate is open, and an entry of the
/// type "fatal" ends the worker.
struct Fixture {
    explicit Fixture(MonitorOptions options = watching(0ms), bool startThread = true)
        : handler(std::make_shared<SinkHandler>(startThread)) {
        handler->installSink(std::make_shared<LambdaSink>([this](const Message& entry) {
            gate.wait();
            if (entry.at("message").getString() == "fatal") throw 42;
        }));
        handler->installSink(record);
        monitor = std::make_shared<Monitor>(handler, std::move(options));
    }
    ~Fixture() {
        gate.open();
        monitor->stopWatching();
        handler->stopProcessing();
    }

    /// What was delivered, as the type, or as number and severities of a note.
    Entries delivered() {
        gate.open();
        handler->flush();
        Entries result;
        for (const std::string& entry : record->entries) {
            const auto json = nlohmann::json::parse(entry);
            result.push_back(json.at("message"));
            if (result.back() != "EntriesRefused") continue;
            result.back() = json.at("number").dump() + " " + json.at("bySeverity").dump();
        }
        return result;
    }

    Gate gate;
    const std::shared_ptr<RecordingSink> record = std::make_shared<RecordingSink>();
    const std::shared_ptr<SinkHandler> handler;
    std::shared_ptr<Monitor> monitor;
};

BoundedLoggerOptions ceilingOf(std::uint64_t ceiling, std::chrono::milliseconds wait = 0ms) {
    BoundedLoggerOptions options;
    options.ceiling = ceiling;
    options.wait = wait;
    return options;
}

}  // namespace

TEST(BoundedLogger, AcceptedAndNotedEntriesAreWhatFourThreadsOffered) {
    for (const auto wait : {0ms, 60000ms}) {
        Fixture fixture;
        if (wait > 0ms) fixture.gate.open();
        std::atomic<std::uint64_t> accepted = 0;
        {
            BoundedLogger logger(fixture.monitor, ceilingOf(100, wait));
            std::vector<JoiningThread> callers;
            for (int thread = 0; thread < 4; ++thread) {
                callers.emplace_back([&] {
                    for (int i = 0; i < 5000; ++i) accepted += logger.log("x", {});
                });
            }
            callers.clear();
            fixture.gate.open();
        }
        const MonitorSnapshot now = fixture.monitor->snapshot();
        EXPECT_EQ(accepted, wait > 0ms ? 20000 : 87) << "An eighth, rounded up, is kept for errors";
        EXPECT_EQ(now.refused, 20000 - accepted);
        EXPECT_LE(now.highestWaiting, 100U);
        const std::string number = std::to_string(now.refused);
        std::string last = number;
        last.append(" {\"none\":").append(number).append("}");
        EXPECT_EQ(fixture.delivered().back(), wait > 0ms ? "x" : last);
    }
}

TEST(BoundedLogger, KeepsPlacesForErrorsAndOneForTheNote) {
    Fixture fixture;
    BoundedLoggerOptions options = ceilingOf(8);
    options.reserve = 0.5;
    BoundedLogger logger(fixture.monitor, options);
    for (const char* severity : {"info", "loud", "warning", "error", "critical"}) {
        for (int i = 0; i < 2; ++i) logger.log(severity, {{"severity", severity}});
    }
    EXPECT_EQ(fixture.delivered(),
              (Entries{"info", "info", "loud", "loud", "error", "error", "critical"}));
    logger.flush();
    EXPECT_EQ(fixture.delivered().back(), R"(3 {"critical":1,"warning":2})");

    options = ceilingOf(UINT64_MAX);
    options.reserve = 0;
    EXPECT_TRUE(BoundedLogger(fixture.monitor, options).log("without a limit", {}));
}

TEST(BoundedLogger, NotesRefusalsWhenRoomReturnsAndAtTheEnd) {
    Fixture fixture(watching(1ms));
    const auto start = Clock::now();
    {
        BoundedLogger logger(fixture.monitor, ceilingOf(2));
        EXPECT_TRUE(logger.log("x", {}));
        EXPECT_FALSE(logger.log("x", {{"severity", "info"}}));
        fixture.gate.open();
        // The watcher sends the note, though nothing more is logged.
        while (fixture.monitor->snapshot().delivered < 2) std::this_thread::yield();
        EXPECT_EQ(fixture.delivered(), (Entries{"x", R"(1 {"info":1})"}));
        while (logger.log("x", {{"severity", "loud"}})) continue;
        fixture.handler->flush();
        EXPECT_TRUE(logger.log("later", {}));
        fixture.monitor->stopWatching();
        const Entries delivered = fixture.delivered();
        if (Clock::now() - start < 1s) {
            EXPECT_EQ(delivered.back(), "later");
        }
    }
    EXPECT_EQ(fixture.delivered().back(), R"(1 {"none":1})");
    EXPECT_EQ(fixture.monitor->snapshot().refused, 2U);
}

TEST(BoundedLogger, WaitsForAPlaceButNeverInVain) {
    Fixture fixture;
    BoundedLogger patient(fixture.monitor, ceilingOf(3, (std::chrono::milliseconds::max)()));
    BoundedLogger hurried(fixture.monitor, ceilingOf(3, 20ms));
    EXPECT_TRUE(patient.log("x", {}));
    EXPECT_TRUE(patient.log("x", {}));
    const auto start = Clock::now();
    EXPECT_FALSE(hurried.log("refused", {}));
    EXPECT_GE(Clock::now() - start, 20ms);
    JoiningThread caller([&] { EXPECT_TRUE(patient.log("waited", {})); });
    EXPECT_FALSE(hurried.log("refused", {}));
    fixture.gate.open();
    caller.join();
    Entries delivered = fixture.delivered();
    delivered.resize(3);  // Without the note.
    EXPECT_EQ(delivered, (Entries{"x", "x", "waited"}));

    Fixture unstarted(watching(0ms), false);
    BoundedLogger logger(unstarted.monitor, ceilingOf(2, 1h));
    EXPECT_TRUE(logger.log("x", {}));
    EXPECT_FALSE(logger.log("without a worker", {}));
}

TEST(BoundedLogger, RefusesInsteadOfWaitingOnTheWorkerThread) {
    const auto handler = std::make_shared<SinkHandler>();
    std::shared_ptr<Logger> logger;
    std::atomic<int> accepted = 0;
    handler->installSink(std::make_shared<LambdaSink>(
        [&](const Message&) { accepted += logger->log("from a sink", {}); }));
    logger = std::make_shared<BoundedLogger>(std::make_shared<Monitor>(handler), ceilingOf(2, 1h));
    EXPECT_TRUE(logger->log("x", {}));
    handler->flush();
    EXPECT_EQ(accepted, 0);
    handler->stopProcessing();
}

TEST(BoundedLogger, OpensAgainAfterASinkThrewAwayABatch) {
    for (const bool restart : {false, true}) {
        MonitorOptions options = watching(1ms);
        options.restart = restart;
        Fixture fixture(std::move(options), restart);
        BoundedLogger logger(fixture.monitor, ceilingOf(8));
        int accepted = 0;
        while (logger.log(accepted == 0 ? "fatal" : "x", {})) ++accepted;
        EXPECT_EQ(accepted, 7);
        fixture.gate.open();
        for (int i = 0; i < (restart ? 0 : 2); ++i) {
            fixture.handler->startProcessing();
            fixture.handler->flush();
        }
        while (!logger.log("admitted", {})) std::this_thread::yield();
        // A note that is delivered before it is counted hides for a moment what is lost.
        const auto isSettled = [](const MonitorSnapshot& now) {
            return now.waiting == 0 && now.lost > 0;
        };
        while (!isSettled(fixture.monitor->snapshot())) std::this_thread::yield();
        fixture.monitor->stopWatching();
        const std::uint64_t delivered = fixture.delivered().size();
        const MonitorSnapshot end = fixture.monitor->snapshot();
        EXPECT_EQ(end.delivered, delivered);
        EXPECT_EQ(end.accepted, delivered + end.lost);
        EXPECT_GE(end.lost, restart ? 1U : 7U);
        EXPECT_EQ(end.highestWaiting, 7U);
    }
}
