#include "support/Test.h"

#include <nlohmann/json.hpp>

struct ExtenderTest : testing::Test {
    ExtenderTest() { handler->installSink(sink); }

    Entries entriesThrough(Logger& logger) {
        logger.flush();
        return sink->entries;
    }

    const std::shared_ptr<SinkHandler> handler = std::make_shared<SinkHandler>();
    const std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
};

TEST_F(ExtenderTest, AddsItsKeyToEveryFormOfPayload) {
    const auto logger = createStaticExtender(handler, L"k", 1);
    logger->log("T", 5);
    logger->log(L"T", Message());
    logger->log("T", {{"k", "old"}, {"other", true}});
    createStaticExtender(handler, L"messageData", 1)->log("T", 5);
    EXPECT_EQ(
        entriesThrough(*logger),
        (Entries{R"({"k":1,"message":"T","messageData":5})", R"({"k":1,"message":"T"})",
                 R"({"k":1,"message":"T","other":true})", R"({"message":"T","messageData":1})"}));
}

TEST_F(ExtenderTest, StackedExtendersRunFromTheOutsideIn) {
    const auto copyOuter = [](const Message& message) { return message.at("outer"); };
    const auto inner = std::make_shared<Extender>(handler, L"copy", copyOuter);
    const auto middle = createStaticExtender(createStaticExtender(inner, L"same", 1), L"same", 2);
    const auto outermost = createStaticExtender(middle, L"outer", "seen");
    EXPECT_TRUE(outermost->log("T", {}));
    EXPECT_EQ(entriesThrough(*outermost),
              Entries{R"({"copy":"seen","message":"T","outer":"seen","same":1})"});
    handler->stopProcessing();
    EXPECT_FALSE(outermost->log("T", {}));
}

TEST_F(ExtenderTest, FailuresReachTheCallerAndLogNothing) {
    EXPECT_STREQ(WrongKeyException().what(), "Extender key must not be empty or 'message'");
    EXPECT_THROW(createTimestampExtender(handler, L""), WrongKeyException);
    EXPECT_THROW(createStaticExtender(handler, L"message", 1), WrongKeyException);
    EXPECT_NO_THROW(createStaticExtender(handler, L"Message", 1));
    EXPECT_THROW(Extender(handler, L"k", nullptr).log("T", 1), std::bad_function_call);
    Extender throwing(handler, L"k", [](const Message&) -> Message { throw 42; });
    EXPECT_THROW(throwing.log("T", 1), int);
    EXPECT_THROW(throwing.log("\xFF", 1), std::range_error);
    EXPECT_EQ(entriesThrough(throwing), Entries());
}

TEST_F(ExtenderTest, ThreadIdAndTimestampAreThoseOfTheCall) {
    const auto now = [] { return createIso8601String(std::chrono::system_clock::now()); };
    const auto logger =
        createTimestampExtender(createThreadIdExtender(handler, L"thread"), L"time");
    const auto holding = std::make_shared<HoldingSink>();
    handler->installSink(holding);
    const std::wstring before = now();
    logger->log("T", {});
    holding->entered.wait();
    std::jthread([&] { logger->log("T", {}); }).join();
    logger->log("T", {});
    const std::wstring after = now();
    while (now() == after) std::this_thread::yield();
    holding->released.count_down();
    const Entries entries = entriesThrough(*logger);
    const auto other = nlohmann::json::parse(entries.at(1));
    const auto own = nlohmann::json::parse(entries.at(2));
    EXPECT_LE(before, Message::strToWstr(own.at("time")));
    EXPECT_GE(after, Message::strToWstr(own.at("time")));
    std::ostringstream id;
    id << std::this_thread::get_id();
    EXPECT_EQ(own.at("thread"), id.str());
    EXPECT_NE(other.at("thread"), id.str());
}
