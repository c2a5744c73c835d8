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
    const std::pair<Message, std::size_t> values[] = {
        {"", 1}, {true, 1}, {1.5, 1}, {1, 1}, {list, 2}, {Message(), 0}, {{{"k", 1}}, 1}};
    for (auto [message, size] : values) {
        const std::string before = message.toJson(false, "");
        EXPECT_EQ(message.size(), size) << before;
        EXPECT_THROW(message["\xFF"], std::range_error) << before;
        if (!message.isMap()) {
            EXPECT_THROW(message.at("k"), WrongTypeException) << before;
            EXPECT_THROW((void)message.hasKey(L"k"), WrongTypeException) << before;
        }
        if (!message.isVector()) {
            EXPECT_THROW(message[0], WrongTypeException) << before;
            EXPECT_THROW(message.push_back(1), WrongTypeException) << before;
        }
        EXPECT_EQ(message.toJson(false, ""), before);
    }
    EXPECT_THROW(Message(5)["k"], WrongTypeException);
}

TEST(MessageContainers, PushBackCopiesAlsoFromItself) {
    Message list(std::vector<Message>{});
    Message text("t");
    list.push_back(std::move(text));
    EXPECT_TRUE(text.isString());
    for (int i = 0; i < 3; ++i) list.push_back(list[0]);
    list.push_back(list);
    list[0] = 1;
    EXPECT_EQ(list.toJson(false, ""), R"([1,"t","t","t",["t","t","t","t"]])");
}
