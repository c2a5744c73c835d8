// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/Context.h>

using namespace Korvel::Extras;

TEST(Context, EntryWinsThenTheInnerScopeThenTheOuter) {
    const auto handler = std::make_shared<SinkHandler>();
    const auto sink = std::make_shared<RecordingSink>();
    handler->installSink(sink);
    const auto logger = createContextExtender(handler);
    const Context outer({{"a", "outer"}, {"b", "outer"}, {"c", "outer"}});
    logger->log("A", 1);
    EXPECT_THROW(const Context text(Message("text")), WrongTypeException);
    const Context nothing{Message()};
    const Context inner({{"b", "inner"}, {"c", "inner"}, {"message", "lost"}});
    logger->log("B", {{"c", "entry"}});
    createStaticExtender(logger, L"a", "around")->log(L"C", Message());
    createContextExtender(createStaticExtender(handler, L"a", "inside"))->log("D", {});
    logger->flush();
    EXPECT_EQ(sink->entries,
              (Entries{R"({"a":"outer","b":"outer","c":"outer","message":"A","messageData":1})",
                       R"({"a":"outer","b":"inner","c":"entry","message":"B"})",
                       R"({"a":"around","b":"inner","c":"inner","message":"C"})",
                       R"({"a":"inside","b":"inner","c":"inner","message":"D"})"}));
}

TEST(Context, TasksCarryWhatTheyTakeAlongAndLeaveNothing) {
    const auto handler = std::make_shared<SinkHandler>();
    const auto sink = std::make_shared<RecordingSink>();
    handler->installSink(sink);
    const auto logger = createContextExtender(handler);
    const auto runTask = [&logger](const Message& captured) {
        try {
            const Context request(captured);
            const Context step({{"step", 2}});
            logger->log("step", {});
            const ContextSuspension suspension;
            const Context callback({{"callback", true}});
            logger->log("callback", {});
            throw std::runtime_error("leaves four scopes");
        } catch (const std::runtime_error&) {
            logger->log("after", {});
        }
    };
    const Context request({{"id", 1}, {"step", 1}});
    const Context user({{"user", "u"}});
    const Message captured = Context::capture();
    JoiningThread([&] {
        for (int task = 0; task < 2; ++task) runTask(captured);
    }).join();
    logger->flush();
    const Entries ofOne = {R"({"id":1,"message":"step","step":2,"user":"u"})",
                           R"({"callback":true,"message":"callback"})", R"({"message":"after"})"};
    const auto half = sink->entries.begin() + 3;
    EXPECT_EQ(Entries(sink->entries.begin(), half), ofOne);
    EXPECT_EQ(Entries(half, sink->entries.end()), ofOne);
}
