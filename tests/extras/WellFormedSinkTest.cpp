// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/MemorySink.h>
#include <Korvel/Extras/WellFormedSink.h>

#include <limits>

using namespace Korvel::Extras;

static const double INFINITE = std::numeric_limits<double>::infinity();
static const double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

static std::string repaired(const Message& message, WellFormedSinkOptions options = {}) {
    const auto memory = std::make_shared<MemorySink>(1);
    WellFormedSink(memory, std::move(options)).append(message);
    return memory->take().at(0).toJson(false, "");
}

TEST(WellFormedSink, NumbersEqualKeysMarksTheEntryAndCutsItsDepth) {
    const std::wstring manyWords(100, L'w');
    const std::pair<Message, std::string> cases[] = {
        {manyWords + L"\xDFFF", '"' + std::string(100, 'w') + "\uFFFD\""},
        // The correct keys stay. The others follow in their order, and pass by taken numbers.
        {{{L"\xD800", 1}, {L"\xD801", 2}, {L"\xDC00", 3}, {L"\uFFFD", 4}, {L"\uFFFD_2", 5}},
         "{\"\uFFFD\":4,\"\uFFFD_1\":1,\"\uFFFD_2\":5,\"\uFFFD_3\":2,\"\uFFFD_4\":3}"},
    };
    for (const auto& [message, expected] : cases) EXPECT_EQ(repaired(message), expected);

    WellFormedSinkOptions options;
    options.mark = L"repaired";
    options.maxDepth = 2;
    EXPECT_EQ(repaired({{"a", NOT_A_NUMBER}, {"repaired", "no"}}, options),
              R"({"a":null,"repaired":true})");
    EXPECT_EQ(repaired({{"a", 1}}, options), R"({"a":1})");
    EXPECT_EQ(repaired({{"a", std::vector<Message>{1, Message{{"b", 2}}, "c"}}}, options),
              "{\"a\":[1,\"\u2026\",\"c\"],\"repaired\":true}");
}

TEST(WellFormedSink, ForwardsACleanEntryItselfAndCountsTheOthers) {
    const Message* seen = nullptr;
    WellFormedSink sink(
        std::make_shared<LambdaSink>([&seen](const Message& message) { seen = &message; }));
    const Message clean{{L"text", L"\u00DF\uD7FF\xD83D\xDE00"}, {L"\uE000", {{"list", 1.5}}}};
    sink.append(clean);
    EXPECT_EQ(seen, &clean);
    const Message faulty{{L"\xD800", INFINITE}, {L"\xD801", 1}, {L"\xD802", 1}};
    sink.append(faulty);
    EXPECT_NE(seen, &faulty);
    const WellFormedSinkState state = sink.state();
    EXPECT_EQ(state.repairedEntries, 1U);
    EXPECT_EQ(state.numberedKeys, 2U);
    EXPECT_EQ(state.cutContainers, 0U);
}

/// Recursion would overflow the stack of this thread.
TEST(WellFormedSink, AHundredThousandLevelsNeedNoStack) {
    constexpr int PAIRS = 50000;
    for (const double innermost : {7.0, INFINITE}) {
        const Message tree = deepTree(PAIRS, innermost);
        EXPECT_EQ(repaired(tree), deepText(100, "\"\u2026\""));
        WellFormedSinkOptions noLimit;
        noLimit.maxDepth = SIZE_MAX;
        EXPECT_TRUE(repaired(tree, noLimit) == deepText(PAIRS, innermost == 7 ? "7" : "null"));
    }
}
