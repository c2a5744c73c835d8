#include "support/Test.h"

TEST(SinkHandler, EntryIsThePayloadWithItsTypeName) {
    SinkHandler handler;
    const auto sink = std::make_shared<RecordingSink>();
    handler.installSink(sink);
    handler.log("T", {});
    handler.log(L"T", {{"message", "gone"}, {"k", 1}});
    handler.log("", 5);
    handler.log("\xC3\xA9", std::vector<Message>{1});
    handler.flush();
    EXPECT_EQ(sink->entries, (Entries{R"({"message":"T"})", R"({"k":1,"message":"T"})",
                                      R"({"message":"","messageData":5})",
                                      "{\"message\":\"\xC3\xA9\",\"messageData\":[1]}"}));
}

TEST(SinkHandler, HoldsEntriesBackUntilItIsStartedAndRefusesOnceStopped) {
    SinkHandler handler(false);
    const auto first = std::make_shared<RecordingSink>();
    const auto second = std::make_shared<RecordingSink>();
    EXPECT_TRUE(handler.installSink(first));
    EXPECT_TRUE(handler.log("1", {}));
    handler.flush();
    EXPECT_EQ(first->entries, Entries());
    EXPECT_TRUE(handler.installSink(second));
    for (int i = 0; i < 2; ++i) handler.startProcessing();
    EXPECT_TRUE(handler.log("2", {}));
    for (int i = 0; i < 2; ++i) handler.stopProcessing();
    EXPECT_FALSE(handler.log("3", {}));
    handler.startProcessing();
    EXPECT_TRUE(handler.log("4", {}));
    handler.flush();
    EXPECT_EQ(first->entries,
              (Entries{R"({"message":"1"})", R"({"message":"2"})", R"({"message":"4"})"}));
    EXPECT_EQ(second->entries, first->entries);
    EXPECT_EQ(second->flushes, 2);
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
        handler.installSink(sinkNamed("1"));
        handler.installSink(sinkNamed("2"));
        handler.log("T", {});
    }
    EXPECT_EQ(events, (Entries{"1", "2", "1", "2", "1", "2", "idle"}));
}

TEST(SinkHandler, RemovedSinkGetsWhatWasAcceptedBefore) {
    SinkHandler handler(false);
    const auto never = std::make_shared<RecordingSink>();
    const auto sink = std::make_shared<RecordingSink>();
    EXPECT_FALSE(handler.installSink(nullptr) || handler.removeSink(nullptr));
    EXPECT_TRUE(handler.installSink(sink) && handler.installSink(never));
    EXPECT_FALSE(handler.installSink(sink));
    handler.log("T", {});
    EXPECT_TRUE(handler.removeSink(never));
    handler.startProcessing();
    EXPECT_TRUE(handler.removeSink(sink));
    EXPECT_FALSE(handler.removeSink(sink));
    handler.log("late", {});
    handler.stopProcessing();
    EXPECT_EQ(sink->entries, Entries{R"({"message":"T"})"});
    EXPECT_EQ(sink->flushes, 1);
    EXPECT_EQ(never->entries, Entries());
}

TEST(SinkHandler, ThrowingSinkEndsTheWorkerAndKeepsTheQueue) {
    for (const bool stopFirst : {true, false}) {
        SinkHandler handler(false);
        bool isBroken = true;
        const auto holding = std::make_shared<HoldingSink>();
        const auto last = std::make_shared<RecordingSink>();
        handler.installSink(holding);
        handler.installSink(std::make_shared<LambdaSink>([&isBroken](const Message&) {
            if (isBroken) throw 42;
        }));
        handler.installSink(last);
        handler.log("lost", {});
        handler.log("lost with its batch", {});
        handler.startProcessing();
        holding->entered.wait();
        handler.log("kept", {});
        holding->released.open();
        handler.flush();
        EXPECT_TRUE(handler.log("kept too", {}));
        if (stopFirst) handler.stopProcessing();
        EXPECT_EQ(last->entries, Entries());
        isBroken = false;
        handler.startProcessing();
        handler.flush();
        EXPECT_EQ(last->entries, (Entries{R"({"message":"kept"})", R"({"message":"kept too"})"}));
    }
}

TEST(SinkHandler, CallsFromInsideASinkAreForbidden) {
    SinkHandler handler(false);
    Entries errors;
    std::shared_ptr<Sink> sink;
    const std::function<void()> calls[] = {
        [&] { handler.log("T", {}); }, [&] { handler.flush(); }, [&] { handler.removeSink(sink); },
        [&] { handler.stopProcessing(); },
        [&] { errors.push_back(handler.log("T", {}) ? "1" : "0"); }};
    sink = std::make_shared<LambdaSink>([&](const Message&) {
        for (const auto& call : calls) {
            try {
                call();
            } catch (const std::logic_error& error) {
                errors.push_back(error.what());
            }
        }
    });
    handler.installSink(sink);
    handler.log("T", {});
    handler.startProcessing();
    handler.flush();
    const std::string flushing = "Calling flush() from inside the logger thread is forbidden";
    EXPECT_EQ(errors, (Entries{"Calling log() from inside the logger thread is forbidden", flushing,
                               flushing, flushing, "0"}));
}

TEST(SinkHandler, ManyThreadsLogInOrderAndOnce) {
    constexpr int THREADS = 4;
    constexpr int ENTRIES = 5000;
    SinkHandler handler;
    std::vector<std::int64_t> next(THREADS, 0);
    int outOfOrder = 0;
    handler.installSink(std::make_shared<LambdaSink>([&](const Message& entry) {
        auto& expected = next.at(static_cast<std::size_t>(entry.at("thread").getInteger()));
        outOfOrder += entry.at("i").getInteger() != expected++;
    }));
    std::vector<JoiningThread> threads;
    for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([&handler, t] {
            for (int i = 0; i < ENTRIES; ++i) {
                handler.log("T", {{"thread", t}, {"i", i}});
                if (i % 1000 == 0) handler.flush();
            }
        });
    }
    threads.clear();
    handler.stopProcessing();
    EXPECT_EQ(outOfOrder, 0);
    EXPECT_EQ(next, std::vector<std::int64_t>(THREADS, ENTRIES));
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

TEST(SinkHandler, FlushWakesAnIdleWorkerAtOnce) {
    SinkHandler handler;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 200; ++i) handler.flush();
    // Polling at 10 ms would take two seconds at least.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST(SinkHandler, InstallSinkGetsItsTurnWithinABatch) {
    constexpr int ENTRIES = 2000;
    SinkHandler handler(false);
    const auto late = std::make_shared<RecordingSink>();
    const auto holding = std::make_shared<HoldingSink>();
    handler.installSink(holding);
    handler.installSink(std::make_shared<LambdaSink>([](const Message&) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(200);
        while (std::chrono::steady_clock::now() < end) continue;
    }));
    for (int i = 0; i < ENTRIES; ++i) handler.log("T", {});
    handler.startProcessing();
    holding->entered.wait();
    holding->released.open();
    handler.installSink(late);
    handler.stopProcessing();
    EXPECT_GT(late->entries.size(), ENTRIES / 2U);
}
