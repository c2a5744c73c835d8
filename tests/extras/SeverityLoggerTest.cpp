#include "support/Test.h"

#include <Korvel/Extras/SeverityLogger.h>

#include <atomic>

using namespace Korvel::Extras;

struct SeverityLoggerTest : testing::Test {
    SeverityLoggerTest() { handler->installSink(sink); }

    const Entries& written() const {
        handler->flush();
        return sink->entries;
    }

    const std::shared_ptr<SinkHandler> handler = std::make_shared<SinkHandler>();
    const std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
    const SeverityLogger logger{handler, Severity::Trace};
};

TEST_F(SeverityLoggerTest, EveryFormOfTypeAndPayloadBecomesAnEntryWithItsSeverity) {
    const Message own = {{"k", 1}, {"severity", "fatal"}};
    logger.trace("A");
    logger.debug(L"B", {});
    logger.info(std::string("C\0c", 3), {{"k", 1}, {"list", std::vector<Message>{1, "x"}}});
    logger.warning(std::wstring(L"D"), 5);
    logger.error(std::string_view("Ende").substr(0, 1), own);
    logger.critical(std::wstring_view(L"Fin").substr(0, 1), [] { return "lazy"; });
    logger.log(Severity::Error, "G", std::vector<Message>{});
    logger.log(Severity::Info, static_cast<const char*>(nullptr),
               [&own]() mutable { return Message(own); });
    EXPECT_THROW(logger.info("\xFF"), std::range_error);
    EXPECT_EQ(written(), (Entries{
                             R"({"message":"A","severity":"trace"})",
                             R"({"message":"B","severity":"debug"})",
                             R"({"k":1,"list":[1,"x"],"message":"C\u0000c","severity":"info"})",
                             R"({"message":"D","messageData":5,"severity":"warning"})",
                             R"({"k":1,"message":"E","severity":"error"})",
                             R"({"message":"F","messageData":"lazy","severity":"critical"})",
                             R"({"message":"G","messageData":[],"severity":"error"})",
                             R"({"k":1,"message":"","severity":"info"})",
                         }));
    EXPECT_EQ(own.toJson(false, ""), R"({"k":1,"severity":"fatal"})");
    EXPECT_TRUE(logger.info("A"));
    handler->stopProcessing();
    EXPECT_FALSE(logger.info("A"));
}

TEST_F(SeverityLoggerTest, ThresholdsAreOwnOrSharedAndChangeAtRunTime) {
    const SeverityLogger copy = logger;
    const SeverityLogger onOtherChain(createStaticExtender(handler, L"x", 1), logger.threshold());
    const SeverityLogger own = logger.withThreshold(Severity::Error);
    int calls = 0;
    const auto logWithEach = [&](const std::string& type) {
        for (const auto* each : {&logger, &copy, &onOtherChain, &own}) {
            EXPECT_EQ(each->isOn(Severity::Warning), each->warning(type, [&] { return ++calls; }));
        }
    };
    logWithEach("A");
    JoiningThread([&] { onOtherChain.threshold()->set(Severity::Critical); }).join();
    own.threshold()->set(Severity::Warning);
    logWithEach("B");
    EXPECT_FALSE(logger.warning("C", {{"k", 1}}));
    EXPECT_FALSE(logger.warning("\xFF", Message(1)));
    EXPECT_TRUE(logger.critical("D"));
    EXPECT_EQ(written(), (Entries{
                             R"({"message":"A","messageData":1,"severity":"warning"})",
                             R"({"message":"A","messageData":2,"severity":"warning"})",
                             R"({"message":"A","messageData":3,"severity":"warning","x":1})",
                             R"({"message":"B","messageData":4,"severity":"warning"})",
                             R"({"message":"D","severity":"critical"})",
                         }));
}

TEST_F(SeverityLoggerTest, CallableThatThrowsLeavesAnEntryThatSaysSo) {
    EXPECT_TRUE(
        logger.debug("A", []() -> Message { throw std::runtime_error("no \xC3\xA4nswer"); }));
    EXPECT_TRUE(logger.info("B", []() -> Message { throw std::runtime_error("no \xFFnswer"); }));
    EXPECT_TRUE(logger.error("C", []() -> Message { throw 1; }));
    const Message entry;
    EXPECT_TRUE(logger.error("D", [&entry] { return entry.at("absent"); }));
    EXPECT_EQ(
        written(),
        (Entries{
            R"({"message":"A","payloadError":"no änswer","severity":"debug"})",
            R"({"message":"B","payloadError":"no ?nswer","severity":"info"})",
            R"({"message":"C","payloadError":"unknown exception","severity":"error"})",
            R"({"message":"D","payloadError":"You tried to access the wrong type.","severity":"error"})",
        }));
}

TEST_F(SeverityLoggerTest, LocationIsThatOfTheCallAlsoThroughAWrapperAndABadCallable) {
    std::vector<Message> sources;
    handler->installSink(std::make_shared<LambdaSink>([&sources](const Message& entry) {
        sources.push_back(entry.hasKey("source") ? entry.at("source") : Message("none"));
    }));
    const SeverityLogger located = logger.withLocation();
    const auto wrapper = [&located](const EventType& type) { located.info(type, 5); };
    const int line = __LINE__;
    located.info("A", {{"k", 1}});
    wrapper(L"B");
    located.debug("C", []() -> Message { throw 1; });
    located.info("D", {{"source", "own"}});
    located.withLocation(false).info("E");
    logger.info("F");
    handler->flush();
    std::vector<Message> expected;
    for (const int distance : {1, 2, 3}) {
        expected.push_back({{"file", __FILE__}, {"function", __func__}, {"line", line + distance}});
    }
    expected.insert(expected.end(), {"own", "none", "none"});
    EXPECT_EQ(Message(sources).toJson(true, ""), Message(expected).toJson(true, ""));
}

TEST_F(SeverityLoggerTest, ThreadsLogExactlyWhatTheyAreToldWhileTheThresholdChanges) {
    std::atomic<int> accepted = 0;
    {
        std::vector<JoiningThread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (int k = 0; k < 2000; ++k) accepted += logger.info("T", [] { return 1; });
            });
        }
        for (int k = 0; k < 2000; ++k) {
            logger.threshold()->set(k % 2 == 0 ? Severity::Warning : Severity::Info);
        }
    }
    EXPECT_EQ(written().size(), static_cast<std::size_t>(accepted));
    EXPECT_GT(accepted, 0);
}
