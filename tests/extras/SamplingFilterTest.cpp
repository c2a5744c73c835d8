// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/SamplingFilter.h>

#include <nlohmann/json.hpp>

#include <utility>

using namespace Korvel::Extras;
using namespace std::chrono_literals;
using Json = nlohmann::json;

struct SamplingFilterTest : testing::Test {
    SamplingFilterOptions options(std::uint64_t first, std::uint64_t thereafter) {
        return {first, thereafter, 1s, [this] { return now; }};
    }

    /// What the target has received since the last call.
    Entries received() {
        for (std::string& line : target->entries) line = withoutTimes(line);
        return std::exchange(target->entries, {});
    }

    std::chrono::steady_clock::time_point now;
    const std::shared_ptr<RecordingSink> target = std::make_shared<RecordingSink>();
};

/// The numbers of the entries that pass, out of 12.
TEST_F(SamplingFilterTest, FirstPassAndThenEachSoManyth) {
    using Numbers = std::vector<int>;
    constexpr std::uint64_t MANY = UINT64_MAX;
    const Numbers all = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const std::vector<std::tuple<std::uint64_t, std::uint64_t, Numbers>> cases = {
        {3, 4, {1, 2, 3, 7, 11}}, {3, 0, {1, 2, 3}}, {0, 5, {5, 10}}, {0, 0, {}},
        {1, MANY, {1}},           {2, 1, all},       {12, 0, all},    {MANY, MANY, all},
    };
    for (const auto& [first, thereafter, passing] : cases) {
        SamplingFilter filter(target, options(first, thereafter));
        const auto predicate = samplingPredicate(options(first, thereafter));
        received();  // The report of the last filter.
        Numbers accepted;
        for (const int i : all) {
            const Message entry = {{"i", i}, {"message", "M"}};
            filter.append(entry);
            if (predicate(entry)) accepted.push_back(i);
        }
        Numbers passed;
        for (const std::string& line : received()) passed.push_back(Json::parse(line)["i"]);
        EXPECT_EQ(passed, passing);
        EXPECT_EQ(accepted, passing);
    }
}

TEST_F(SamplingFilterTest, WindowsAndTypesAreCountedApartAndTheNextEntryTellsTheNumber) {
    SamplingFilter filter(target, options(1, 3));
    const auto append = [&](const char* type, const char* severity, int times) {
        for (int i = 0; i < times; ++i) filter.append({{"message", type}, {"severity", severity}});
    };
    append("A", "info", 3);
    append("A", "debug", 1);
    now += 400ms;
    append("B", "info", 4);
    now += 600ms - 1ns;
    append("A", "info", 2);
    now += 1ns;
    append("A", "info", 1);
    append("B", "info", 1);
    append("C", "ERROR", 2);
    filter.append(7);
    filter.flush();
    filter.flush();
    const Entries expected = {
        R"({"message":"A","severity":"info"})",
        R"({"message":"A","severity":"debug"})",
        R"({"message":"B","severity":"info"})",
        R"({"message":"B","severity":"info","suppressed":2})",
        R"({"message":"A","severity":"info","suppressed":2})",
        R"({"message":"A","severity":"info","suppressed":1})",
        R"({"message":"C","severity":"ERROR"})",
        R"({"message":"C","severity":"ERROR"})",
        "7",
        R"({"message":"EntriesSuppressed","suppressed":1,"timestamp":"TIME","types":[{"severity":"info","suppressed":1,"type":"B"}]})",
    };
    EXPECT_EQ(received(), expected);
    EXPECT_EQ(target->flushes, 2);
}

TEST_F(SamplingFilterTest, TypesBeyondTheLimitAndNamelessEntriesShareOneCounter) {
    {
        SamplingFilter filter(target, options(1, 0));
        for (int i = 0; i < 1024; ++i) filter.append({{"message", "T" + std::to_string(i)}});
        EXPECT_EQ(received().size(), 1024U);
        for (const char* const type : {"X", "Y", "T5", "Z"}) filter.append({{"message", type}});
        filter.append({{"a", 1}});
        filter.append({{"message", 2}});
        EXPECT_EQ(received(), Entries{R"({"message":"X"})"});
        now += 1s;
        filter.append({{"a", 2}, {"suppressed", "replaced"}});
        filter.append({{"message", "Y"}});
        EXPECT_EQ(received(), Entries{R"({"a":2,"suppressed":4})"});
    }
    EXPECT_EQ(
        received(),
        Entries{R"({"message":"EntriesSuppressed","suppressed":2,)"
                R"("timestamp":"TIME","types":[{"suppressed":1,"type":"T5"},{"suppressed":1}]})"});
}

TEST_F(SamplingFilterTest, WhatAThrowingTargetDidNotTakeIsStillOwed) {
    bool fails = false;
    std::vector<std::int64_t> told;
    const Message entry = {{L"message", L"\xD800x"}};
    const auto failing = std::make_shared<LambdaSink>([&](const Message& message) {
        if (fails) throw std::runtime_error("full");
        told.push_back(message.hasKey("suppressed") ? message.at("suppressed").getInteger() : 0);
        EXPECT_EQ(&message == &entry, told.back() == 0);
    });
    {
        SamplingFilter filter(failing, options(1, 2));
        for (int i = 0; i < 2; ++i) filter.append(entry);
        fails = true;
        EXPECT_THROW(filter.append(entry), std::runtime_error);
        EXPECT_THROW(filter.flush(), std::runtime_error);
        fails = false;
        for (int i = 0; i < 3; ++i) filter.append(entry);
        filter.flush();
        filter.append(entry);
        filter.append(entry);
        fails = true;
    }
    EXPECT_EQ(told, (std::vector<std::int64_t>{0, 2, 1, 0}));
    SamplingFilter noTarget(nullptr, {});
    noTarget.append(entry);
    noTarget.flush();
}

TEST_F(SamplingFilterTest, NoEntryOfManyThreadsIsMissingInTheBooks) {
    std::size_t told = 0;
    SamplingFilter filter(std::make_shared<LambdaSink>([&told](const Message& entry) {
                              if (entry.hasKey("suppressed")) {
                                  told +=
                                      static_cast<std::size_t>(entry.at("suppressed").getInteger());
                              }
                          }),
                          options(10, 7));
    std::vector<JoiningThread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 5000; ++i) filter.append({{"message", "M"}});
            filter.flush();
        });
    }
    threads.clear();
    EXPECT_EQ(told, 19990U - 19990 / 7);
    EXPECT_EQ(told, filter.suppressed());
}
