// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <nlohmann/json.hpp>

struct ExtenderTest : testing::Test {
    ExtenderTest() { handler->installSink(sink); }

    const std::shared_ptr<SinkHandler> handler = std::make_shared<SinkHandler>();
    const std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
};

TEST_F(ExtenderTest, KeysAreAddedFromTheOutsideInToEveryFormOfPayload) {
    std::vector<std::size_t> sizes;
    handler->installSink(std::make_shared<LambdaSink>(
        [&sizes](const Message& message) { sizes.push_back(message.getMap().size()); }));
    const auto copyOuter = [](const Message& message) { return message.at("k"); };
    const auto inner = std::make_shared<Extender>(handler, L"copy", copyOuter);
    const auto logger = createStaticExtender(createStaticExtender(inner, L"same", 1), L"same", 2);
    const auto outermost = createStaticExtender(logger, L"k", "new");
    outermost->log("T", 5);
    outermost->log(L"T", Message());
    outermost->log("T", {{"k", "old"}, {"other", true}});
    createStaticExtender(handler, L"messageData", 1)->log("T", 5);
    outermost->flush();
    handler->stopProcessing();
    EXPECT_FALSE(outermost->log("T", {}));
    EXPECT_EQ(sizes, (std::vector<std::size_t>{5, 4, 5, 2}));
    EXPECT_EQ(sink->entries,
              (Entries{R"({"copy":"new","k":"new","message":"T","messageData":5,"same":1})",
                       R"({"copy":"new","k":"new","message":"T","same":1})",
                       R"({"copy":"new","k":"new","message":"T","other":true,"same":1})",
                       R"({"message":"T","messageData":1})"}));
}

TEST_F(ExtenderTest, FailuresReachTheCallerAndLogNothing) {
    EXPECT_STREQ(WrongKeyException().what(), "Extender key must not be empty or 'message'");
    EXPECT_THROW(createTimestampExtender(handler, L""), WrongKeyException);
    EXPECT_THROW(createStaticExtender(handler, L"message", 1), WrongKeyException);
    EXPECT_NO_THROW(createStaticExtender(handler, L"Message", 1));
    EXPECT_THROW(Extender(handler, L"k", nullptr).log("T", 1), std::bad_function_call);
    EXPECT_THROW(Extender(handler, L"k", nullptr).log("\xFF", 1), std::range_error);
    handler->flush();
    EXPECT_EQ(sink->entries, Entries());
}

TEST_F(ExtenderTest, ThreadIdAndTimestampAreThoseOfTheCall) {
    const auto now = [] { return createIso8601String(std::chrono::system_clock::now()); };
    const auto logger =
        createTimestampExtender(createThreadIdExtender(handler, L"thread"), L"time");
    const auto holding = std::make_shared<HoldingSink>();
    handler->installSink(holding);
    logger->log("T", {});
    holding->entered.wait();
    const std::wstring before = now();
    logger->log("T", {});
    const std::wstring after = now();
    while (now() == after) std::this_thread::yield();
    holding->released.open();
    handler->flush();
    const auto entry = nlohmann::json::parse(sink->entries.at(1));
    EXPECT_LE(before, Message::strToWstr(entry.at("time")));
    EXPECT_GE(after, Message::strToWstr(entry.at("time")));
    std::ostringstream id;
    id << std::this_thread::get_id();
    EXPECT_EQ(entry.at("thread"), id.str());
}
