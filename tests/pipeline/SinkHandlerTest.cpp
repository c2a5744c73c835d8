// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>

/// A handler that holds its entries back, with one sink that records.
struct SinkHandlerTest : testing::Test {
    SinkHandlerTest() { handler.installSink(sink); }

    void install(const std::function<void(const Message&)>& onAppend) {
        handler.installSink(std::make_shared<LambdaSink>(onAppend));
    }

    SinkHandler handler{false};
    const std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
    const std::shared_ptr<HoldingSink> holding = std::make_shared<HoldingSink>();
};

TEST_F(SinkHandlerTest, HoldsEntriesBackUntilItIsStartedAndRefusesOnceStopped) {
    const auto second = std::make_shared<RecordingSink>();
    EXPECT_TRUE(handler.log("T", {}));
    handler.flush();
    EXPECT_EQ(sink->entries, Entries());
    EXPECT_TRUE(handler.installSink(second));
    for (int i = 0; i < 2; ++i) handler.startProcessing();
    EXPECT_TRUE(handler.log(L"T", {{"message", "gone"}, {"k", 1}}));
    for (int i = 0; i < 2; ++i) handler.stopProcessing();
    EXPECT_FALSE(handler.log("refused", {}));
    handler.startProcessing();
    EXPECT_TRUE(handler.log("", 5));
    handler.flush();
    EXPECT_EQ(sink->entries, (Entries{R"({"message":"T"})", R"({"k":1,"message":"T"})",
                                      R"({"message":"","messageData":5})"}));
    EXPECT_EQ(second->entries, sink->entries);
    EXPECT_EQ(second->flushes, 2);
}

TEST_F(SinkHandlerTest, RemovedSinkGetsWhatWasAcceptedBefore) {
    const auto never = std::make_shared<RecordingSink>();
    EXPECT_FALSE(handler.installSink(nullptr) || handler.removeSink(nullptr));
    EXPECT_FALSE(handler.installSink(sink) || handler.removeSink(never));
    handler.installSink(never);
    handler.log("T", {});
    EXPECT_TRUE(handler.removeSink(never));
    handler.startProcessing();
    EXPECT_TRUE(handler.removeSink(sink));
    handler.log("late", {});
    handler.stopProcessing();
    EXPECT_EQ(sink->entries, Entries{R"({"message":"T"})"});
    EXPECT_EQ(sink->flushes, 1);
    EXPECT_EQ(never->entries, Entries());
}

TEST(SinkHandler, EveryEntryAndFlushWakesTheWorkerAtOnce) {
    using Clock = std::chrono::steady_clock;
    const char* const chosen = std::getenv("ENTRIES");
    const int entries = chosen == nullptr ? 1000 : std::atoi(chosen);
    Clock::time_point sent;
    std::vector<double> delays;
    std::atomic<int> arrived = 0;
    SinkHandler handler;
    handler.installSink(std::make_shared<LambdaSink>([&](const Message&) {
        delays.push_back(std::chrono::duration<double, std::milli>(Clock::now() - sent).count());
        ++arrived;
    }));
    std::minstd_rand random;
    for (int i = 0; i < entries; ++i) {
        // The worker falls asleep about 0.15 ms after a delivery.
        const auto moment = Clock::now() + std::chrono::microseconds(random() % 400);
        while (Clock::now() < moment) continue;
        sent = Clock::now();
        if (i % 4 == 0) handler.flush();
        handler.log("T", {});
        while (arrived <= i) std::this_thread::yield();
    }
    std::sort(delays.begin(), delays.end());
    const double median = delays[delays.size() / 2];
    EXPECT_LT(median, 2);  // Polling at 10 ms would take 5 ms.
    if (chosen == nullptr) return;
    EXPECT_LT(delays.back(), 10);
    std::cout << entries << " entries: p50 " << median << " ms, p99 "
              << delays[delays.size() * 99 / 100] << " ms, max " << delays.back() << " ms\n";
}

TEST(SinkHandler, DestructionDeliversThenFlushesThenReleasesFirstToLast) {
    Entries events;
    const auto sinkNamed = [&events](const std::string& name) {
        const auto record = [&events, name](auto...) { events.push_back(name); };
        const std::shared_ptr<void> atRelease(nullptr, record);
        return std::make_shared<LambdaSink>([record, atRelease](const Message&) { record(); },
                                            record);
    };
    {
        SinkHandler idle(false);
        idle.installSink(sinkNamed("idle"));
        idle.log("T", {});
        SinkHandler handler;
        for (const char* name : {"1", "2"}) handler.installSink(sinkNamed(name));
        handler.log("T", {});
    }
    EXPECT_EQ(events, (Entries{"1", "2", "1", "2", "1", "2", "idle"}));
}

TEST(SinkHandler, ThrowingSinkEndsTheWorkerAndKeepsTheQueue) {
    for (const bool stopFirst : {true, false}) {
        SinkHandler broken(false);
        bool isBroken = true;
        const auto first = std::make_shared<HoldingSink>();
        const auto last = std::make_shared<RecordingSink>();
        broken.installSink(first);
        broken.installSink(std::make_shared<LambdaSink>([&isBroken](const Message&) {
            if (isBroken) throw 42;
        }));
        broken.installSink(last);
        for (const char* type : {"lost", "lost with its batch"}) broken.log(type, {});
        broken.startProcessing();
        first->entered.wait();
        broken.log("kept", {});
        first->released.open();
        broken.flush();
        EXPECT_TRUE(broken.log("kept too", {}));
        if (stopFirst) broken.stopProcessing();
        EXPECT_EQ(last->entries, Entries());
        isBroken = false;
        broken.startProcessing();
        broken.flush();
        EXPECT_EQ(last->entries, (Entries{R"({"message":"kept"})", R"({"message":"kept too"})"}));
    }
}

TEST_F(SinkHandlerTest, CallsFromInsideASinkAreForbidden) {
    Entries errors;
    const std::function<void()> calls[] = {
        [&] { handler.log("T", {}); }, [&] { handler.flush(); }, [&] { handler.removeSink(sink); },
        [&] { handler.stopProcessing(); },
        [&] { errors.push_back(handler.log("T", {}) ? "1" : "0"); }};
    install([&](const Message&) {
        for (const auto& call : calls) {
            try {
                call();
            } catch (const std::logic_error& error) {
                errors.push_back(error.what());
            }
        }
    });
    handler.log("T", {});
    handler.startProcessing();
    handler.flush();
    const std::string flushing = "Calling flush() from inside the logger thread is forbidden";
    EXPECT_EQ(errors, (Entries{"Calling log() from inside the logger thread is forbidden", flushing,
                               flushing, flushing, "0"}));
}

TEST(SinkHandler, FlushNeverHangsBesideADyingOrStoppingWorker) {
    for (int round = 0; round < 500; ++round) {
        SinkHandler handler;
        handler.installSink(std::make_shared<LambdaSink>([](const Message&) { throw 42; }));
        std::vector<JoiningThread> threads;
        for (int t = 0; t < 3; ++t) {
            threads.emplace_back([&handler] {
                for (int i = 0; i < 5; ++i) {
                    handler.log("T", {});
                    handler.flush();
                }
            });
        }
        for (int i = 0; i < 5; ++i) {
            if (i % 2 == 0) handler.stopProcessing();
            handler.startProcessing();
        }
    }
}

TEST(SinkHandler, WhatIsAcceptedDuringAFlushOfAnotherThreadIsDeliveredAndFlushed) {
    using Call = std::function<void(SinkHandler&, const std::shared_ptr<Sink>&)>;
    const Call calls[] = {[](auto& handler, auto&) { handler.flush(); },
                          [](auto& handler, auto&) { handler.stopProcessing(); },
                          [](auto& handler, auto& sink) { handler.removeSink(sink); }};
    for (const Call& call : calls) {
        const auto sink = std::make_shared<RecordingSink>();
        Gate flushing;
        Gate logged;
        const auto onFlush = [&] {
            flushing.open();
            logged.wait();
            // Most likely the call arrives during this pass. If not, the result is the same.
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        };
        SinkHandler handler;
        handler.installSink(sink);
        handler.installSink(std::make_shared<LambdaSink>([](const Message&) {}, onFlush));
        const JoiningThread other([&handler] { handler.flush(); });
        flushing.wait();
        handler.log("late", {});
        logged.open();
        call(handler, sink);
        EXPECT_EQ(sink->entries, Entries{R"({"message":"late"})"});
        EXPECT_EQ(sink->flushes, 2);
    }
}

TEST(SinkHandler, FlushReturnsUnderALoadThatNeverLetsTheQueueRunEmpty) {
    std::atomic<int> accepted = 0;
    std::atomic<int> appended = 0;
    std::atomic<bool> isOver = false;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    SinkHandler handler;
    handler.installSink(std::make_shared<LambdaSink>([&](const Message&) {
        ++appended;
        while (!isOver && accepted <= appended) std::this_thread::yield();
    }));
    const JoiningThread producer([&] {
        while (!isOver) {
            if (accepted - appended < 2 && handler.log("T", {})) ++accepted;
            if (std::chrono::steady_clock::now() > end) isOver = true;
        }
    });
    handler.flush();
    EXPECT_FALSE(isOver.exchange(true));
}

TEST_F(SinkHandlerTest, InstallSinkGetsItsTurnWithinABatch) {
    const auto late = std::make_shared<RecordingSink>();
    handler.installSink(holding);
    install([](const Message&) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(200);
        while (std::chrono::steady_clock::now() < end) continue;
    });
    for (int i = 0; i < 2000; ++i) handler.log("T", {});
    handler.startProcessing();
    holding->entered.wait();
    holding->released.open();
    handler.installSink(late);
    handler.stopProcessing();
    EXPECT_GT(late->entries.size(), 1000U);
}
