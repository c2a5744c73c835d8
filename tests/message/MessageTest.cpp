// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <atomic>
#include <optional>

namespace {

struct Name : std::string {
    using std::string::string;
};
struct Label {
    operator std::string() const { return "label"; }
    operator bool() const { return true; }
};
struct WideLabel {
    operator std::wstring() const { return {L"a\0b", 3}; }
};
struct Switch {
    operator bool() const { return true; }
};
struct Handle {
    operator int*() const { return nullptr; }
};
struct Either {
    operator bool() const { return true; }
    operator int() const { return 1; }
};
enum Choice { first };

template <class... T>
constexpr bool holdsAny = (std::is_constructible_v<Message, T> || ...);

}  // namespace

TEST(Message, EveryArgumentSelectsItsType) {
    using Map = std::map<std::wstring, Message>;
    const std::pair<Message, const char*> values[] = {
        {Message(), "null"},
        {true, "true"},
        {7, "7"},
        {2.5F, "2.5"},
        {-0.25, "-0.25"},
        {"", "\"\""},
        {static_cast<unsigned char>(200), "200"},
        {std::string("a\0b", 3), "\"a\""},
        {Map(), "{}"},
        {std::uint64_t{9223372036854775807U}, "9223372036854775807"},
        {std::int64_t{INT64_MIN}, "-9223372036854775808"},
        {std::wstring(L"a\0b", 3), "\"a\\u0000b\""},
        {{{"k", 1}, {"k", 2}}, R"({"k":2})"},
        {std::map<std::string, Message>{{"k", 1}}, R"({"k":1})"},
        {std::vector<Message>{1, "x"}, R"([1,"x"])"}};
    for (const auto& [value, text] : values) EXPECT_EQ(value.toJson(false, ""), text);
    EXPECT_EQ(Message(0.1F).getDouble(), 0.10000000149011612);
    EXPECT_THROW(Message(std::uint64_t{9223372036854775808U}), std::range_error);
    char buffer[] = "mutable";
    EXPECT_EQ(Message(buffer).getString(), "mutable");
    EXPECT_THROW((void)Message(1).getDouble(), WrongTypeException);
    EXPECT_STREQ(WrongTypeException().what(), "You tried to access the wrong type.");
}

TEST(Message, ConvertsClassesThatAreTextsOrTruthValues) {
    std::vector<bool> bits{true, false};
    const std::atomic<bool> atomic = true;
    const Message message{{"atomic", atomic},
                          {"bit", bits[1]},
                          {"label", Label()},
                          {"name", Name("a\0b", 3)},
                          {"path", std::filesystem::path("p")},
                          {"switch", Switch()},
                          {"true", std::true_type()},
                          {"wide", WideLabel()}};
    EXPECT_EQ(message.toJson(false, ""),
              R"({"atomic":true,"bit":false,"label":"label","name":"a","path":"p",)"
              R"("switch":true,"true":true,"wide":"a\u0000b"})");
    EXPECT_EQ(Message(std::vector<Message>{bits[0], bits[1]}).toJson(false, ""), "[true,false]");
}

TEST(Message, RefusesEveryOtherTypeAndANullText) {
    EXPECT_FALSE((holdsAny<char, wchar_t, char16_t, char8_t, long double, Choice>));
    EXPECT_FALSE(
        (holdsAny<std::nullptr_t, int*, void*, const char8_t*, int Message::*, void (*)()>));
    EXPECT_FALSE(
        (holdsAny<Handle, Either, std::atomic<int>&, std::optional<bool>, decltype([] {})>));
    EXPECT_FALSE((holdsAny<std::string_view, std::u8string, std::vector<int>, std::vector<bool>>));
    // Even a deleted constructor for iterators would make them two elements.
    const std::vector<Message> list{1, 2, 3};
    EXPECT_EQ((std::vector<Message>{list.begin(), list.end()}.size()), 3U);
    const char* narrow = nullptr;
    const wchar_t* wide = nullptr;
    EXPECT_THROW(Message{narrow}, std::logic_error);
    EXPECT_THROW(Message{wide}, std::logic_error);
}

TEST(Message, OnlyMoveAssignmentTransfers) {
    Message text("t");
    Message target(std::move(text));
    EXPECT_TRUE(text.isString());
    target = {{"old", 1}};
    target = std::move(text);
    EXPECT_EQ(target.getString(), "t");
    EXPECT_TRUE(text.isNull());
    Message number(5);
    target = std::move(number);
    EXPECT_EQ(number.getInteger(), 5);
}

TEST(Message, CopiesShareNothingAndAssignmentFromWithinIsSound) {
    Message message({{"child", {{"k", std::vector<Message>{1, Message({{"deep", 2}})}}}}});
    Message copy = message;
    copy["child"]["k"][1]["deep"] = 3;
    Message& alias = message;
    message = alias;
    message = std::move(alias);
    EXPECT_EQ(message.toJson(false, ""), R"({"child":{"k":[1,{"deep":2}]}})");
    message = message["child"];
    message = std::move(message["k"]);
    EXPECT_EQ(message.toJson(false, ""), R"([1,{"deep":2}])");
}

TEST(Message, ElementsAbove16BitsAreSplitOnTheWayIn) {
    const std::wstring element = L"\U0001F600";
    EXPECT_EQ(Message(element.c_str()).getWstring(), L"\xD83D\xDE00");
    Message map(std::map<std::wstring, Message>{{element, 1}});
    map["\xF0\x9F\x98\x80"] = 2;
    map[L"\xE000"] = 3;
    EXPECT_TRUE(map.hasKey(element));
    EXPECT_EQ(map.at(element).getInteger(), 2);
    EXPECT_EQ(map.toJson(false, ""), "{\"\xF0\x9F\x98\x80\":2,\"\xEE\x80\x80\":3}");
}
