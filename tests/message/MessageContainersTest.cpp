// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/OperatorNew.h"
#include "support/Test.h"

TEST(MessageContainers, IndexingANullByKeyMakesAMap) {
    Message message;
    message["b"] = 1;
    message[L"B"];
    message[L"aa"] = message["a"] = "x";
    EXPECT_EQ(message.toJson(false, ""), R"({"B":null,"a":"x","aa":"x","b":1})");
    EXPECT_EQ(&message.at("b"), &message[L"b"]);
    EXPECT_FALSE(message.hasKey("absent"));
    EXPECT_THROW(message.at(L"absent"), std::out_of_range);
    EXPECT_EQ(message.size(), 4U);
}

TEST(MessageContainers, KeysOfEveryTypeReachTheSameEntry) {
    struct Name {
        operator std::string() const { return "k"; }
    };
    Message message;
    message[Name()] = 1;
    message[std::filesystem::path("k")] = 2;
    const char* const pointer = "k";
    const wchar_t* const null = nullptr;
    EXPECT_EQ(message[pointer].getInteger(), 2);
    EXPECT_EQ(message.at(Name()).getInteger() + message.at(L"k").getInteger(), 4);
    EXPECT_TRUE(message.hasKey(Name()) && message.hasKey(std::string_view("k")));
    EXPECT_THROW(message[null], std::logic_error);
    EXPECT_THROW((void)message.hasKey(null), std::logic_error);
    EXPECT_EQ(message.size(), 1U);
}

TEST(MessageContainers, EveryOtherTypeRefusesAndStaysAsItWas) {
    const std::vector<Message> list = {1, 2};
    const std::tuple<Message, std::size_t, const char*> values[] = {
        {"", 1, "\"\""}, {1, 1, "1"}, {list, 2, "[1,2]"}, {Message(), 0, "null"}};
    for (auto [message, size, text] : values) {
        EXPECT_EQ(message.size(), size) << text;
        EXPECT_THROW(message["\xFF"], std::range_error) << text;
        EXPECT_THROW(message.at("k"), WrongTypeException) << text;
        EXPECT_THROW((void)message.hasKey(L"k"), WrongTypeException) << text;
        if (!message.isNull()) {
            EXPECT_THROW(message["k"], WrongTypeException) << text;
        }
        if (!message.isVector()) {
            EXPECT_THROW(message[0], WrongTypeException) << text;
            EXPECT_THROW(message.push_back(1), WrongTypeException) << text;
        }
        EXPECT_EQ(message.toJson(false, ""), text);
    }
}

TEST(MessageContainers, PushBackCopiesAlsoFromItself) {
    Message list(std::vector<Message>{"t"});
    for (int i = 0; i < 3; ++i) list.push_back(std::move(list[0]));
    list.push_back(list);
    list[0] = 1;
    EXPECT_EQ(list.toJson(false, ""), R"([1,"t","t","t",["t","t","t","t"]])");
}

static std::wstring visitedKeys;
static void visitKey(std::wstring_view key, const Message&) {
    visitedKeys += key;
}

TEST(MessageContainers, ForEachVisitsEveryKindOfKeyInOrder) {
    Message message({{"b", 1}, {"B", 1}});
    message.forEach(visitKey);
    message[L"\u00E9"] = message["aa"] = 1;
    message.forEach(&visitKey);
    EXPECT_EQ(visitedKeys, L"BbBaab\u00E9");
    EXPECT_THROW(Message().forEach(visitKey), WrongTypeException);
}

// The map itself is not const, so its values may be changed.
TEST(MessageContainers, ValuesOfTheMapOfGetMapAreThoseOfTheMessage) {
    Message message({{"text", "in a map"}, {"value", {{"k", 1}}}});
    const auto valueOf = [&message](const wchar_t* key) -> Message& {
        return const_cast<Message&>(message.getMap().at(key));
    };
    Message taken;
    taken = std::move(valueOf(L"text"));
    EXPECT_EQ(taken.getString(), "in a map");
    EXPECT_THROW(valueOf(L"text").at("k"), WrongTypeException);
    valueOf(L"value")["list"] = std::vector<Message>{};
    valueOf(L"value").at("list").push_back(message);
    valueOf(L"text") = valueOf(L"value").at("k");
    EXPECT_EQ(message.toJson(false, ""),
              R"({"text":1,"value":{"k":1,"list":[{"text":null,"value":{"k":1,"list":[]}}]}})");
}

TEST(MessageContainers, ALiteralIsTheKeyThatItSpells) {
    const wchar_t cut[] = {L'n', L'u', L'l', 0, L'x', 0};
    Message message;
    message[""] = 0;
    message["a"] = message[cut] = 1;
    EXPECT_EQ(message[L"a"].getInteger(), 1);
    message[L"1234567"] = message["12345678"] = message[L"123456789"] = 2;
    message["fifteen letters"] = message[L"sixteen letters!"] = 3;
    message["\x7F"] = message[L"~ "] = 4;
    EXPECT_EQ(message.toJson(false, ""),
              R"({"":0,"1234567":2,"12345678":2,"123456789":2,"a":1,"fifteen letters":3,"nul":1,)"
              "\"sixteen letters!\":3,\"~ \":4,\"\x7F\":4}");
    Message maps[5];
    maps[0]["\""];
    maps[1][L"a\\"];
    maps[2]["\x1F"];
    // Their low bytes are letters.
    maps[3][L"\u0161\u8061wx"] = maps[3]["\xC5\xA1\xE8\x81\xA1wx"];
    maps[4][L"12345678"] = maps[4]["123456789"];
    maps[4]["1234567890"];
    EXPECT_EQ(Message(std::vector<Message>(maps, maps + 5)).toJson(false, ""),
              "[{\"\\\"\":null},{\"a\\\\\":null},{\"\\u001f\":null},"
              "{\"\xC5\xA1\xE8\x81\xA1wx\":null},"
              R"({"12345678":null,"123456789":null,"1234567890":null}])");
}

#ifndef _WIN32
TEST(MessageContainers, ReadingAMapOfShortKeysAllocatesNothing) {
    const Message message({{"status", 200}, {"fifteen letters", 1}});
    const std::string absent = "a key of more than fifteen letters";
    std::size_t visited = 0;
    isOutOfMemory = true;
    const bool wasFound = message.hasKey("status") && message.hasKey(L"fifteen letters") &&
                          !message.hasKey(absent) && message.at("status").getInteger() == 200;
    message.forEach([&visited](std::wstring_view key, const Message&) { visited += key.size(); });
    isOutOfMemory = false;
    EXPECT_TRUE(wasFound);
    EXPECT_EQ(visited, 21U);
}
#endif

TEST(MessageContainers, ManyThreadsReadOneMap) {
    for (int round = 0; round < 50; ++round) {
        Message message({{"k", {{"deep", 1}}}});
        message["t"] = "text";
        const std::map<std::wstring, Message>* maps[4] = {};
        {
            std::vector<JoiningThread> threads;
            for (auto& map : maps) {
                threads.emplace_back([&] {
                    map = &message.getMap();
                    EXPECT_EQ(message.toJson(false, ""), R"({"k":{"deep":1},"t":"text"})");
                    EXPECT_EQ(message.at("k").at("deep").getInteger(), 1);
                });
            }
        }
        for (const auto* map : maps) ASSERT_EQ(map, maps[0]);
    }
}
