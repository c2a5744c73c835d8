// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/ToMessage.h>

#include <nlohmann/json.hpp>

#include <deque>
#include <forward_list>
#include <map>
#include <set>
#include <unordered_map>

using namespace Korvel::Extras;
using namespace std::chrono_literals;
using nlohmann::json;
using Clock = std::chrono::system_clock;

namespace {

json parse(const Message& message) {
    return json::parse(message.toJson(false, ""));
}

/// Each row is the value of an entry, and the JSON text of the value.
struct Row {
    std::string name;
    Message entry;
    const char* expected;
};

void expectRows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        EXPECT_EQ(parse(row.entry), json::parse(std::string("{\"k\":") + row.expected + "}"))
            << row.name;
    }
}

#define ROW(value, expected)                      \
    Row {                                         \
#value, Message({{"k", value}}), expected \
    }

/// A view such as `std::ranges::filter_view`: it has no begin() const, and may be used up.
struct CountDown {
    struct End {};
    struct Iterator {
        int& operator*() { return *left; }
        void operator++() { --*left; }
        bool operator!=(End) const { return *left != 0; }
        int* left;
    };
    Iterator begin() { return {&left}; }
    static End end() { return {}; }
    int left;
};

/// Contains itself, which is legitimate for a map.
struct Tree : std::map<std::string, Tree> {};

enum class Port : unsigned char { Web = 80 };
enum class Wide : std::uint64_t { Most = ~std::uint64_t{0} };

}  // namespace

namespace shop {

struct Order {
    int number;
    friend Message toMessage(const Order& order) { return {{"order", order.number}}; }
};
struct UrgentOrder : Order {};

enum class State { Open, Closed };
Message toMessage(State state) {
    return state == State::Open ? "open" : "closed";
}

/// A range of its own type, and an exception that describes itself.
struct Menu : std::vector<Menu> {};
Message toMessage(const Menu& menu) {
    return static_cast<std::int64_t>(menu.size());
}

struct Refusal : std::runtime_error {
    using runtime_error::runtime_error;
};
struct SoldOut : std::runtime_error {
    using runtime_error::runtime_error;
    friend Message toMessage(const SoldOut&) { return "sold out"; }
};
struct Alarm {};

/// Text and range, too.
struct Receipt : std::string {
    operator Message() const { return {{"total", 5}}; }
};

}  // namespace shop

TEST(ToMessage, ValuesOfEveryKindStandInABraceList) {
    const char* const absent = nullptr;
    char buffer[8] = "ab";
    const char full[2] = {'a', 'b'};
    const int numbers[] = {1, 2};
    std::vector<bool> flags = {true, false};
    const std::map<const char*, int> oneWithoutKey = {{nullptr, 1}};
    Tree tree;
    tree["leaf"];
    expectRows({
        ROW(toMessage(flags[0]), "true"),
        ROW(toMessage(std::uint8_t{7}), "7"),
        ROW(toMessage(0.5L), "0.5"),
        ROW(toMessage(Wide::Most), R"("18446744073709551615")"),
        ROW(toMessage('x'), R"("x")"),
        ROW(toMessage(U'\U0001F600'), R"("\ud83d\ude00")"),
        ROW(toMessage(buffer), R"("ab")"),
        ROW(toMessage(full), R"("ab")"),
        ROW(toMessage(absent), "null"),
        ROW(toMessage(std::string("a\0b", 3)), R"("a\u0000b")"),
        ROW(toMessage(std::string_view("abc").substr(1)), R"("bc")"),
        ROW(toMessage(u8"\u00e9"), R"("\u00e9")"),
        ROW(toMessage(u"\u00e9"), R"("\u00e9")"),
        ROW(toMessage(std::vector<char>{'a', 'b'}), R"("ab")"),
        ROW(toMessage(std::filesystem::path("a/b")), R"("a/b")"),
        ROW(toMessage(std::optional<int>()), "null"),
        ROW(toMessage(std::variant<int, std::vector<int>>(std::vector<int>{1})), "[1]"),
        ROW(toMessage(std::pair("a", 1)), R"(["a",1])"),
        ROW(toMessage(std::make_tuple(1, true, 'c')), R"([1,true,"c"])"),
        ROW(toMessage(numbers), "[1,2]"),
        ROW(toMessage(flags), "[true,false]"),
        ROW(toMessage(std::forward_list<int>{1, 2, 3, 4, 5, 6}), "[1,2,3,4,5,6]"),
        ROW(toMessage(std::deque<std::vector<std::optional<int>>>{{1, {}}, {}}), "[[1,null],[]]"),
        ROW(toMessage(CountDown{3}), "[3,2,1]"),
        ROW(toMessage(std::unordered_map<std::u16string, bool>{{u"a", true}}), R"({"a":true})"),
        ROW(toMessage(std::map<int, char>{{1, 'a'}}), R"([[1,"a"]])"),
        ROW(toMessage(std::multimap<std::string, int>{{"a", 1}, {"a", 2}}), R"([["a",1],["a",2]])"),
        ROW(toMessage(oneWithoutKey), R"({"":1})"),
        ROW(toMessage(tree), R"({"leaf":{}})"),
        ROW(toMessage(1500ms), "1500"),
        ROW(ms(-1500us), "-2"),
        ROW(toMessage(std::chrono::time_point<Clock, std::chrono::hours>()),
            R"("1970-01-01T00:00:00.000Z")"),
        ROW(toMessage(Port::Web), "80"),
        ROW(toMessage(std::make_error_code(std::errc::no_such_file_or_directory)),
            R"({"category":"generic","text":"No such file or directory","value":2})"),
    });
    using Hours = std::chrono::time_point<std::chrono::system_clock, std::chrono::hours>;
    using Days = std::chrono::duration<double, std::ratio<86400>>;
    const Clock::time_point first = (Clock::time_point::min)();
    const Clock::time_point last = (Clock::time_point::max)();
    EXPECT_EQ(toMessage((Hours::max)()).getWstring(), createIso8601String(last));
    EXPECT_EQ(toMessage(std::chrono::time_point<Clock, Days>(Days(-1e9))).getWstring(),
              createIso8601String(first));
}

TEST(ToMessage, TextThatIsNotUnicodeIsReplacedAndNeverThrows) {
    using namespace std::string_literals;
    const std::string mark = "\xEF\xBF\xBD";
    using Native = std::filesystem::path::value_type;
    const std::basic_string<Native> name = {
        'a', static_cast<Native>(sizeof(Native) == 1 ? 0xFF : 0xD800)};
    const std::vector<std::pair<Message, std::string>> cases = {
        {toMessage(u"a\xD800"), "a" + mark},
        {toMessage(L"\xDC00\xD83D\xDE00\xD83Dz"s), mark + "\xF0\x9F\x98\x80" + mark + "z"},
        {toMessage(std::u32string{0xD800, 0x110000, 0x10FFFF, U'z'}),
         mark + mark + "\xF4\x8F\xBF\xBF" + "z"},
        {toMessage('\xE9'), mark},
        {toMessage(std::filesystem::path(name)), "a" + mark},
        {toMessage(std::runtime_error("\xE9t\xE9")).at("text"), mark + "t" + mark},
        {toMessage(std::make_exception_ptr("\xFF")).at("text"), mark},
    };
    for (const auto& [message, expected] : cases) EXPECT_EQ(message.getString(), expected);
    EXPECT_EQ(toMessage(std::map<std::string, int>{{"\xFE", 1}, {"\xFF", 2}}).toJson(false, ""),
              "{\"" + mark + "\":2}");

    std::mt19937 random(1);
    const std::string bytes =
        "a\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC2\xE0\xE1\xED\xEF\xF0\xF1\xF4\xF5"s;
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (auto size = random() % 8; size > 0; --size) text += bytes[random() % bytes.size()];
        const std::string dumped = json(text).dump(-1, ' ', false, json::error_handler_t::replace);
        ASSERT_EQ(parse(toMessage(text)), json::parse(dumped))
            << json::binary({text.begin(), text.end()});
    }
}

TEST(ToMessage, FunctionsOfUserTypesPrecedeEverythingElse) {
    expectRows({
        ROW(Korvel::Extras::toMessage(shop::UrgentOrder{{2}}), R"({"order":2})"),
        ROW(toMessage(std::map<std::string, shop::UrgentOrder>{{"a", {{3}}}}),
            R"({"a":{"order":3}})"),
        ROW(toMessage(std::make_pair(shop::State::Open, std::optional(shop::State::Closed))),
            R"(["open","closed"])"),
        ROW(toMessage(shop::Receipt()), R"({"total":5})"),
        ROW(list(shop::Menu(), shop::SoldOut("x")), R"([0,"sold out"])"),
    });
}

TEST(ToMessage, ListIsAVectorWhateverItHoldsAndFirstSaysHowManyItLeftOut) {
    expectRows({
        ROW(list(), "[]"),
        ROW(list("a"), R"(["a"])"),
        ROW(list(list("a", 1), list("b", 2)), R"([["a",1],["b",2]])"),
        ROW(list(std::vector<Message>{1}), "[[1]]"),
        ROW(first(2, std::set<int>{3, 1, 2}), R"({"first":[1,2],"omitted":1})"),
        ROW(first(9, CountDown{2}), R"({"first":[2,1],"omitted":0})"),
        ROW(first(1, std::map<std::string, int>{{"a", 1}, {"b", 2}}),
            R"({"first":{"a":1},"omitted":1})"),
    });
}

namespace {

/// Throws `outermost` after the others, each nested in the next.
template <class Outer>
std::exception_ptr nest(const std::exception_ptr& inner, Outer outer) {
    try {
        try {
            std::rethrow_exception(inner);
        } catch (...) {
            std::throw_with_nested(std::move(outer));
        }
    } catch (...) {
        return std::current_exception();
    }
}

/// throw_with_nested outside of a catch clause stores a null pointer.
std::exception_ptr nestNothing() {
    try {
        std::throw_with_nested(shop::Refusal("alone"));
    } catch (...) {
        return std::current_exception();
    }
}

/// How many nested exceptions are described below so many, and how the last one ends.
std::string nested(int count) {
    auto thrown = std::make_exception_ptr(shop::Refusal("0"));
    for (int i = 1; i <= count; ++i) thrown = nest(thrown, shop::Refusal(std::to_string(i)));
    const std::string text = toMessage(thrown).toJson(false, "");
    int described = 0;
    for (auto at = text.find("\"nested\""); at != std::string::npos; ++described) {
        at = text.find("\"nested\"", at + 1);
    }
    return std::to_string(described) + (text.find("nestedOmitted") == std::string::npos ? "" : "+");
}

}  // namespace

TEST(ToMessage, ExceptionsHaveTheirDynamicTypeAndTheirCauses) {
    const auto thrown = [](auto value) { return std::make_exception_ptr(value); };
    expectRows({
        ROW(toMessage(static_cast<const std::exception&>(shop::Refusal("no"))),
            R"({"type":"shop::Refusal","text":"no"})"),
        ROW(toMessage(std::exception_ptr()), "null"),
        ROW(toMessage(nest(thrown(std::out_of_range("in")), shop::Refusal("out"))),
            R"({"type":"shop::Refusal","text":"out",
                "nested":{"type":"std::out_of_range","text":"in"}})"),
        ROW(toMessage(nestNothing()), R"({"type":"shop::Refusal","text":"alone"})"),
        ROW(toMessage(nest(thrown("in"), shop::Alarm())),
            R"({"type":"shop::Alarm","text":null,"nested":{"type":"char const*","text":"in"}})"),
        ROW(toMessage(std::system_error(2, std::generic_category(), "open")),
            R"({"type":"std::system_error","text":"open: No such file or directory",
                "code":{"category":"generic","text":"No such file or directory","value":2}})"),
    });
    EXPECT_EQ(nested(16), "16");
    EXPECT_EQ(nested(17), "16+");
}
