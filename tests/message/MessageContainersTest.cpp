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
