// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/SeverityLogger.h>

using namespace Korvel::Extras;

struct SeverityLoggerTest : testing::Test {
    SeverityLoggerTest() { handler->installSink(sink); }

    void expectEntries(const Entries& expected) const {
        handler->flush();
        EXPECT_EQ(sink->entries, expected);
    }

    const std::shared_ptr<SinkHandler> handler = std::make_shared<SinkHandler>();
    const std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
    const SeverityLogger logger{handler, Severity::Trace};
};

TEST_F(SeverityLoggerTest, EveryFormOfTypeAndPayloadBecomesAnEntryWithItsSeverity) {
    const Message own = {{"k", 1}, {"severity", "fatal"}};
    logger.trace("A");
    logger.debug(L"B", {});
    logger.info(std::string("C\0c", 3), {{"k", 1}, {"l", "x"}});
    logger.warning(std::wstring_view(L"Dd").substr(0, 1), 5);
    logger.error(std::string_view("Ee").substr(0, 1), own);
    logger.critical(static_cast<const char*>(nullptr), [] { return "lazy"; });
    logger.log(Severity::Info, "F", [&own]() mutable { return Message(own); });
    EXPECT_THROW(logger.info("\xFF"), std::range_error);
    expectEntries({R"({"message":"A","severity":"trace"})", R"({"message":"B","severity":"debug"})",
                   R"({"k":1,"l":"x","message":"C\u0000c","severity":"info"})",
                   R"({"message":"D","messageData":5,"severity":"warning"})",
                   R"({"k":1,"message":"E","severity":"error"})",
                   R"({"message":"","messageData":"lazy","severity":"critical"})",
                   R"({"k":1,"message":"F","severity":"info"})"});
    EXPECT_EQ(own.toJson(false, ""), R"({"k":1,"severity":"fatal"})");
}

TEST_F(SeverityLoggerTest, ThresholdsAreOwnOrSharedAndChangeAtRunTime) {
    const SeverityLogger copy = logger;
    const SeverityLogger onOtherChain(createStaticExtender(handler, L"x", 1), logger.threshold());
    const SeverityLogger own = logger.withThreshold(Severity::Error);
    int calls = 0;
    const auto logWithEach = [&] {
        for (const auto* each : {&logger, &copy, &onOtherChain, &own}) {
            EXPECT_EQ(each->isOn(Severity::Warning), each->warning("T", [&] { return ++calls; }));
        }
    };
    logWithEach();
    JoiningThread([&] { onOtherChain.threshold()->set(Severity::Critical); }).join();
    own.threshold()->set(Severity::Warning);
    logWithEach();
    EXPECT_FALSE(logger.warning("\xFF", {{"k", 1}}));
    expectEntries({R"({"message":"T","messageData":1,"severity":"warning"})",
                   R"({"message":"T","messageData":2,"severity":"warning"})",
                   R"({"message":"T","messageData":3,"severity":"warning","x":1})",
                   R"({"message":"T","messageData":4,"severity":"warning"})"});
    handler->stopProcessing();
    EXPECT_FALSE(own.warning("T"));
}

TEST_F(SeverityLoggerTest, CallableThatThrowsLeavesAnEntryThatSaysSo) {
    EXPECT_TRUE(logger.debug("A", []() -> Message { throw std::runtime_error("no änswer"); }));
    EXPECT_TRUE(logger.info("B", []() -> Message { throw std::runtime_error("no \xFFnswer"); }));
    EXPECT_TRUE(logger.error("C", []() -> Message { throw 1; }));
    expectEntries({R"({"message":"A","payloadError":"no änswer","severity":"debug"})",
                   R"({"message":"B","payloadError":"no �nswer","severity":"info"})",
                   R"({"message":"C","payloadError":"unknown exception","severity":"error"})"});
}

TEST_F(SeverityLoggerTest, LocationIsThatOfTheCallAlsoThroughAWrapper) {
    const SeverityLogger located = logger.withLocation();
    const auto wrapper = [&located](const EventType& type) { located.info(type); };
    wrapper(L"A");
    const Message line = __LINE__ - 1;
    located.info("B", {{"source", "own"}});
    located.withLocation(false).info("C");
    const Message source = {{"file", __FILE__}, {"function", __func__}, {"line", line}};
    expectEntries({R"({"message":"A","severity":"info","source":)" + source.toJson(false, "") + "}",
                   R"({"message":"B","severity":"info","source":"own"})",
                   R"({"message":"C","severity":"info"})"});
}
