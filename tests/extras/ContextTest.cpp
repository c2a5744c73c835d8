#include "support/Test.h"

#include <Korvel/Extras/Context.h>

using namespace Korvel::Extras;

struct ContextTest : testing::Test {
    ContextTest() { handler->installSink(sink); }

    const Entries& written() const {
        handler->flush();
        return sink->entries;
    }

    const std::shared_ptr<SinkHandler> handler = std::make_shared<SinkHandler>();
    const std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
    const std::shared_ptr<Logger> logger = createContextExtender(handler);
};

TEST_F(ContextTest, EntryWinsThenTheInnerScopeThenTheOuter) {
    logger->log("none", 1);
    {
        const Context outer({{"a", "outer"}, {"b", "outer"}, {"c", "outer"}});
        const Context nothing{Message()};
        {
            const Context inner({{"b", "inner"}, {"c", "inner"}, {"message", "lost"}});
            logger->log("inner", {{"c", "entry"}, {"k", true}});
            createStaticExtender(logger, L"a", "around")->log(L"extender", Message());
            createContextExtender(createStaticExtender(handler, L"a", "inside"))
                ->log("extender", {});
        }
        logger->log("outer", 1);
    }
    EXPECT_THROW(Context(Message("text")), WrongTypeException);
    logger->log(L"after", {});
    EXPECT_EQ(written(),
              (Entries{R"({"message":"none","messageData":1})",
                       R"({"a":"outer","b":"inner","c":"entry","k":true,"message":"inner"})",
                       R"({"a":"around","b":"inner","c":"inner","message":"extender"})",
                       R"({"a":"inside","b":"inner","c":"inner","message":"extender"})",
                       R"({"a":"outer","b":"outer","c":"outer","message":"outer","messageData":1})",
                       R"({"message":"after"})"}));
}

TEST_F(ContextTest, TasksOfAPoolThreadCarryCapturedKeysAndLeaveNothing) {
    std::vector<std::function<void()>> tasks;
    const auto addTask = [&](const std::string& type) {
        tasks.emplace_back([this, type, keys = Context::capture()] {
            logger->log("own " + type, {});
            const Context context(keys);
            logger->log(type, {});
        });
    };
    addTask("none");
    {
        const Context request({{"id", 1}, {"user", "u"}});
        addTask("request");
        const Context step({{"id", 2}});
        addTask("step");
        const ContextSuspension suspension;
        addTask("suspended");
        const Context callback({{"c", 3}});
        addTask("callback");
    }
    JoiningThread([&] {
        for (const auto& task : tasks) task();
    }).join();
    EXPECT_EQ(written(),
              (Entries{R"({"message":"own none"})", R"({"message":"none"})",
                       R"({"message":"own request"})", R"({"id":1,"message":"request","user":"u"})",
                       R"({"message":"own step"})", R"({"id":2,"message":"step","user":"u"})",
                       R"({"message":"own suspended"})", R"({"message":"suspended"})",
                       R"({"message":"own callback"})", R"({"c":3,"message":"callback"})"}));
}

TEST_F(ContextTest, ScopesOfFourThreadsStayApartWhenExceptionsLeaveThem) {
    const auto logNested = [this](int thread, int round) {
        const Context outer({{"thread", thread}, {"round", round}});
        try {
            const Context left({{"left", true}});
            const ContextSuspension suspension;
            const Context inner({{"round", -1}});
            throw std::runtime_error("leaves three scopes");
        } catch (const std::runtime_error&) {
            logger->log("T", {});
        }
    };
    constexpr int ROUNDS = 500;
    {
        std::vector<JoiningThread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&logNested, thread] {
                for (int round = 0; round < ROUNDS; ++round) logNested(thread, round);
            });
        }
    }
    logger->log("T", {});
    Entries expected = {R"({"message":"T"})"};
    for (int i = 0; i < 4 * ROUNDS; ++i) {
        expected.push_back(R"({"message":"T","round":)" + std::to_string(i % ROUNDS) +
                           R"(,"thread":)" + std::to_string(i / ROUNDS) + "}");
    }
    written();
    std::sort(sink->entries.begin(), sink->entries.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(sink->entries, expected);
}
