// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

// Braces around a single text are what is tested here.
#ifdef __clang__
#pragma clang diagnostic ignored "-Wbraced-scalar-init"
#endif

using List = std::vector<Message>;

namespace {

std::string jsonOf(const Message& message) {
    return message.toJson(false, "");
}

}  // namespace

// docs/values.md has the same table.
TEST(Braces, MakeTheSameOfNestedListsOnEveryCompiler) {
    const std::pair<std::string, const char*> values[] = {
        {jsonOf({}), "null"},
        {jsonOf({"eu"}), R"("eu")"},
        {jsonOf({{"eu"}}), R"("eu")"},
        {jsonOf({{"eu", "us"}}), R"({"eu":"us"})"},
        {jsonOf({{"eu", "us", "as"}}), R"(["eu","us","as"])"},
        {jsonOf({{1, 2, 3}}), "[1,2,3]"},
        {jsonOf({{"k", {}}}), R"({"k":null})"},
        {jsonOf({{"k", {"eu"}}}), R"({"k":"eu"})"},
        {jsonOf({{"k", {{"eu"}}}}), R"({"k":"eu"})"},
        {jsonOf({{L"k", {{L"eu"}}}}), R"({"k":"eu"})"},
        {jsonOf({{"k", {{"eu", "us"}}}}), R"({"k":{"eu":"us"}})"},
        {jsonOf({{"k", {{"eu", "us", "as"}}}}), R"({"k":["eu","us","as"]})"},
        {jsonOf({{"k", {{"a", 1}, {"b", 2}}}}), R"({"k":{"a":1,"b":2}})"},
        {jsonOf({{"k", List{}}}), R"({"k":[]})"},
        {jsonOf({{"k", List{"eu"}}}), R"({"k":["eu"]})"},
        {jsonOf({{"k", List{{"eu", "us"}}}}), R"({"k":["eu","us"]})"},
        {jsonOf({{"k", List{{{"a", 1}}}}}), R"({"k":[{"a":1}]})"},
        {jsonOf({{"k", List{List{1}, List{2}}}}), R"({"k":[[1],[2]]})"},
        {jsonOf({{"k", List{Message(List{1})}}}), R"({"k":[[1]]})"}};
    for (const auto& [text, expected] : values) EXPECT_EQ(text, expected);
}

TEST(Braces, OfAMessageThatNamesItsListKeepEveryLevel) {
    EXPECT_EQ(jsonOf(Message(List{Message(List{Message(List{})})})), "[[[]]]");
    EXPECT_EQ(jsonOf({{"k", Message(List{Message({{"a", Message(List{1})}})})}}),
              R"({"k":[{"a":[1]}]})");
    EXPECT_EQ(jsonOf(Message{Message(List{1})}), "[1]");
    // The language lets the braces of the outer list count or not.
#ifdef __clang__
    EXPECT_EQ(jsonOf(List{List{1}}), "[1]");
#else
    EXPECT_EQ(jsonOf(List{List{1}}), "[[1]]");
#endif
}

TEST(Braces, ThatAreEmptyMakeNullAlsoInAnAssignment) {
    Message message = {};
    EXPECT_TRUE(message.isNull());
    message = {{"k", 1}};
    EXPECT_EQ(jsonOf(message), R"({"k":1})");
    message = {};
    EXPECT_TRUE(message.isNull());
    message = {{L"k", {}}, {L"l", 1}};
    EXPECT_EQ(jsonOf(message), R"({"k":null,"l":1})");
    Message list(List{1});
    list.push_back({});
    EXPECT_EQ(jsonOf(list), "[1,null]");
    EXPECT_TRUE([](Message argument) { return argument.isNull(); }({}));
}
