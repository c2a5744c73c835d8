// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <locale>

using List = std::vector<Message>;

TEST(JsonWriter, CompactAndPrettyFormsAndIndentsComeOutByteForByte) {
    const Message empty(std::map<std::string, Message>{});
    const Message map({{"a", 1},
                       {"b", List{true, Message()}},
                       {"c", {{"d", "x"}}},
                       {"e", 1.5},
                       {"f", empty},
                       {"g", List()}});
    const Message list(List{List{1, 2}, Message({{"k", List()}}), 3});
    const Message inner({{"a", List{1}}});
    const std::tuple<Message, bool, const char*, const char*> examples[] = {
        {map, false, "", R"({"a":1,"b":[true,null],"c":{"d":"x"},"e":1.5,"f":{},"g":[]})"},
        {map, true, "",
         "{\n  \"a\": 1,\n  \"b\": [\n    true,\n    null\n  ],\n  \"c\": {\n    \"d\": \"x\"\n  "
         "},\n"
         "  \"e\": 1.5,\n  \"f\": {\n  },\n  \"g\": [\n  ]\n}"},
        {list, false, "", R"([[1,2],{"k":[]},3])"},
        {list, true, "", "[\n  [\n    1,\n    2\n  ],\n  {\n    \"k\": [\n    ]\n  },\n  3\n]"},
        {inner, true, "--", "{\n--  \"a\": [\n--    1\n--  ]\n--}"},
        {inner, false, "--", "{--\"a\":[--1--]--}"},
        {"x", false, "--", "--\"x\""},
        {empty, true, "--", "{\n--}"}};
    for (const auto& [value, pretty, indent, text] : examples) {
        EXPECT_EQ(value.toJson(pretty, indent), text);
    }
}

TEST(JsonWriter, RandomNumbersHaveTheTextOfAStream) {
    std::mt19937_64 random(20261122);
    const auto digits = [&] { return static_cast<double>(random() >> (11 + random() % 53)); };
    const auto power = [&](unsigned most) {
        return static_cast<int>(random() % (2 * most + 1)) - static_cast<int>(most);
    };
    for (int i = 0; i < 100000; ++i) {
        const std::uint64_t special = i % 100 == 0 ? 0x7FF0000000000000 : 0;
        const double values[] = {
            std::bit_cast<double>(random() | special),  // Infinities and NaNs are among them.
            -digits() * std::pow(10, power(25)), std::ldexp(digits(), power(90)),
            (static_cast<double>(random() % 10000000) + 0.5) * std::pow(10, random() % 9)};
        for (const double value : values) {
            std::ostringstream stream;
            stream << value;
            ASSERT_EQ(Message(value).toJson(false, ""), stream.str());
        }
        const auto integer = static_cast<std::int64_t>(random()) >> random() % 64;
        ASSERT_EQ(Message(integer).toJson(false, ""), std::to_string(integer));
    }
}

TEST(JsonWriter, DoublesAloneFollowTheGlobalLocale) {
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global({std::locale::classic(), new Comma});
    const std::string text = Message(List{1.5, 1234567}).toJson(false, "");
    struct Long : std::num_put<char> {
        iter_type do_put(iter_type out, std::ios_base&, char, double) const override {
            return std::fill_n(out, 3000, '9');
        }
    };
    std::locale::global({std::locale::classic(), new Long});
    const std::string longText = Message(List{1.5, 2}).toJson(false, "");
    std::locale::global(before);
    EXPECT_EQ(text, "[1,5,1234567]");
    EXPECT_EQ(longText, "[" + std::string(3000, '9') + ",2]");
}

TEST(JsonWriter, EveryCodeUnitIsEscapedAsAnotherWriterDoesIt) {
    std::wstring units;
    for (int unit = 0; unit < 0xD800; ++unit) units += static_cast<wchar_t>(unit);
    const Message message({{units, 1}});
    EXPECT_EQ(message.toJson(false, ""), nlohmann::json({{Message::wstrToStr(units), 1}}).dump());
    EXPECT_THROW((void)Message({{L"\xD83D\x0041", 1}}).toJson(false, ""), std::range_error);
}

TEST(JsonWriter, TextOfAnyLengthIsWhatAnotherWriterMakesOfIt) {
    const std::string parts[] = {"a",        "plain text",   "\"",
                                 "\\",       "\n\x1F",       "\x7F",
                                 "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
                                 "/"};
    std::mt19937 random(20261123);
    for (int i = 0; i < 20000; ++i) {
        std::string text;
        const unsigned most = i % 1000 == 0 ? 5000 : 12;
        for (auto count = random() % most; count > 0; --count) {
            text += random() % 2 == 0 ? parts[random() % 2] : parts[random() % 10];
        }
        const std::string expected = nlohmann::json(text).dump();
        const Message message(text);
        ASSERT_EQ(message.toJson(false, ""), expected);
        ASSERT_EQ(Message(message.getWstring()).toJson(false, ""), expected);
        ASSERT_EQ(message.getString(), text);
    }
}

TEST(JsonWriter, IndentationOfAnyLengthStandsBeforeEveryLine) {
    const std::string longest(15, '\x01');
    const Message tree({{L"fifteen letters", longest}, {L"fifteen letters\x01", List{longest}}});
    for (const bool isPretty : {false, true}) {
        const std::string pattern = tree.toJson(isPretty, "|");
        for (std::size_t size = 0; size < 1100; ++size) {
            const std::string indent(size, '-');
            std::string expected;
            for (const char c : pattern) expected += c == '|' ? indent : std::string(1, c);
            ASSERT_EQ(tree.toJson(isPretty, indent), expected);
        }
    }
}
