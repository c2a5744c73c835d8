// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#ifndef _WIN32

#include "support/OperatorNew.h"
#include "support/Test.h"

#include <numeric>

/// A payload that owns `size` texts, each in storage of its own.
static Message listOf(int size) {
    const std::vector<Message> texts(static_cast<std::size_t>(size), "longer than a Message");
    return {{"list", texts}};
}

/// Payloads that take long to destroy, each for another reason.
static std::vector<Message> largePayloads() {
    Message longKeys;
    for (int i = 0; i < 50; ++i) longKeys[std::string(60, 'k') + std::to_string(i)] = i;
    const std::vector<Message> emptyMaps(100, std::map<std::string, Message>());
    return {listOf(1000), {{"list", longKeys}}, {{"list", emptyMaps}}};
}

TEST(Recycling, LogDestroysSmallDeliveredEntriesOldestFirstAndTheWorkerLargeOnes) {
    const std::vector<Message> large = largePayloads();
    SinkHandler handler(false);
    const auto holding = std::make_shared<HoldingSink>();
    handler.installSink(std::make_shared<Filter>(
        holding, [](const Message& entry) { return !entry.hasKey("list"); }));
    const int liveBefore = liveBlocks;
    for (std::size_t i = 0; i < 100; ++i) {
        handler.log("T", large[i % large.size()]);
        handler.log("T", listOf(1 + static_cast<int>(i % 50)));
    }
    handler.log("hold", {});
    handler.startProcessing();
    holding->entered.wait();
    EXPECT_LT(liveBlocks - liveBefore, 10000);
    std::vector<int> freed(32);
    for (int& count : freed) {
        const int before = freedBlocks;
        handler.log("T", {});
        count = freedBlocks - before;
    }
    holding->released.open();
    std::vector<int> expected(freed.size());
    std::iota(expected.begin(), expected.end(), freed.front());
    EXPECT_LT(freed.front(), 20);
    EXPECT_EQ(freed, expected);
}

TEST(Recycling, WorkerNeedsNoMemoryOfItsOwn) {
    int delivered = 0;
    SinkHandler handler(false);
    handler.installSink(std::make_shared<LambdaSink>([&delivered](const Message&) {
        ++delivered;
        isOutOfMemory = true;  // On this thread, from now on.
    }));
    for (int i = 0; i < 3000; ++i) handler.log("T", {});
    handler.startProcessing();
    for (int i = 0; i < 2; ++i) {
        handler.flush();
        handler.log("T", {});
    }
    handler.stopProcessing();
    EXPECT_EQ(delivered, 3002);
}

#endif
