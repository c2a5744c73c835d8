// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/MemorySink.h>

using namespace Korvel::Extras;
using std::chrono::milliseconds;

static Entries textsOf(const MemorySink::Entries& entries) {
    Entries texts;
    for (const Message& entry : entries) texts.push_back(entry.toJson(false, ""));
    return texts;
}

TEST(MemorySink, KeepsTheLastEntriesAndFindsThemByType) {
    const auto memory = std::make_shared<MemorySink>(3);
    SinkHandler handler;
    handler.installSink(memory);
    for (int i = 0; i < 5; ++i) handler.log(i % 2 == 0 ? "Größe" : "Odd", {{"i", i}});
    handler.flush();
    const Entries kept = {R"({"i":2,"message":"Größe"})", R"({"i":3,"message":"Odd"})",
                          R"({"i":4,"message":"Größe"})"};
    EXPECT_EQ(textsOf(memory->entries()), kept);
    EXPECT_EQ(textsOf(memory->entries("Größe")), (Entries{kept[0], kept[2]}));
    EXPECT_EQ(memory->dropped(), 2U);
    EXPECT_EQ(textsOf(memory->take()), kept);
    EXPECT_EQ(textsOf(memory->entries()), Entries());

    for (const Message& odd : {Message(1), Message{{"message", 1}}, Message{{"m", "Odd"}}}) {
        memory->append(odd);
    }
    EXPECT_EQ(textsOf(memory->entries("Odd")), Entries());
}

TEST(MemorySink, ADumpHandsEachEntryOverOnceAndKeepsWhatFollowsAFailure) {
    MemorySink memory(10);
    for (int i = 0; i < 4; ++i) memory.append(i);
    RecordingSink file;
    LambdaSink failing([&file](const Message& message) {
        if (message.getInteger() == 1) throw std::runtime_error("full");
        file.append(message);
    });
    EXPECT_THROW(memory.dumpTo(failing), std::runtime_error);
    memory.dumpTo(failing);
    memory.dumpTo(failing);
    EXPECT_EQ(file.entries, (Entries{"0", "2", "3"}));

    memory.append(5);
    memory.dumpTo(memory);
    EXPECT_EQ(textsOf(memory.entries()), Entries{"5"});
}

TEST(MemorySink, WaitForSeesEntriesOfOtherThreadsAndGivesUpAtItsLimit) {
    MemorySink memory(600);
    const auto isFull = [](const MemorySink::Entries& entries) { return entries.size() == 600; };
    EXPECT_FALSE(memory.waitFor(isFull, milliseconds(1)));
    std::vector<JoiningThread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&memory] {
            for (int i = 0; i < 250; ++i) memory.append({{"message", "X"}});
        });
    }
    EXPECT_TRUE(memory.waitFor(isFull, milliseconds::max()));
    threads.clear();
    EXPECT_EQ(memory.entries().size() + memory.dropped(), 1000U);
}
