#include "support/Test.h"

#include <nlohmann/json.hpp>

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

TEST(MessageContainers, ValuesStayWhereTheyAreOnceAReferenceIsOut) {
    Message message({{"b", 1}, {"a", "x"}});
    const auto& map = message.getMap();
    const Message& a = std::as_const(message).at("a");
    Message& b = message["b"];
    b = 4;
    for (int i = 0; i < 100; ++i) message[std::to_string(i)];
    EXPECT_EQ(&message.getMap(), &map);
    EXPECT_EQ(&message["a"], &a);
    EXPECT_EQ(&map.at(L"b"), &b);
    EXPECT_EQ(map.at(L"b").getInteger(), 4);
    EXPECT_EQ(map.size(), 102U);
}

TEST(MessageContainers, ChangesShowInEveryReading) {
    Message message({{"a", 1}, {"child", {{"k", 1}}}});
    message.at("a") = 2;
    message.at(L"child").at("k") = 3;
    EXPECT_EQ(message.getMap().at(L"a").getInteger(), 2);
    EXPECT_EQ(message.toJson(false, ""), R"({"a":2,"child":{"k":3}})");
    Message read = message;
    EXPECT_EQ(read.getMap().at(L"child").getMap().size(), 1U);
    read["child"] = read.at("a");
    EXPECT_EQ(Message(read).toJson(false, ""), R"({"a":2,"child":2})");
    Message outer({{"number", 7}, {"text", "short"}});
    const Message text(std::map<std::wstring, Message>{{L"t", outer}});
    Message inner = text.at("t");
    outer = outer["number"];
    inner = inner["text"];
    EXPECT_EQ(outer.toJson(false, "") + inner.toJson(false, ""), "7\"short\"");
}

TEST(MessageContainers, KeysOfEveryKindStandInTheirOrder) {
    // Alone and together they have all lengths around the longest key that stands in an array.
    const std::string parts[] = {"",     "a",        "B",    "ab",       "fourteen chars",
                                 "\x1F", "\xC3\xA9", "\x7F", "12345678", "\""};
    constexpr auto COUNT = std::size(parts);
    std::mt19937 random(20261123);
    for (int i = 0; i < 2000; ++i) {
        std::map<std::string, Message> entries;
        nlohmann::json expected = nlohmann::json::object();
        for (auto count = random() % 40; count > 0; --count) {
            const std::string key =
                parts[random() % 5] + parts[random() % 3] + parts[random() % COUNT];
            expected[key] = count;
            entries[key] = count;
        }
        const Message message(entries);
        Message copy = message;
        for (const auto& [key, value] : entries) {
            ASSERT_TRUE(copy.hasKey(key) && copy.hasKey(Message::strToWstr(key))) << key;
            ASSERT_FALSE(copy.hasKey(key + "!")) << key;
        }
        ASSERT_EQ(copy.size(), entries.size());
        ASSERT_EQ(message.toJson(false, ""), expected.dump());
        copy["new"];
        expected["new"] = nullptr;
        ASSERT_EQ(Message(copy).toJson(true, ""), Message(copy.getMap()).toJson(true, ""));
        ASSERT_EQ(copy.toJson(false, ""), expected.dump());
    }
}

TEST(MessageContainers, ManyThreadsReadOneMap) {
    for (int round = 0; round < 50; ++round) {
        Message message({{"k", {{"deep", 1}}}, {"t", "text"}});
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
