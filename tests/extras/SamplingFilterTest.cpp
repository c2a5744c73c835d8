#include "support/Test.h"

#include <Korvel/Extras/SamplingFilter.h>

#include <nlohmann/json.hpp>

#include <regex>
#include <utility>

using namespace Korvel::Extras;
using namespace std::chrono_literals;
using Json = nlohmann::json;

struct SamplingFilterTest : testing::Test {
    SamplingFilterOptions options(std::uint64_t first, std::uint64_t thereafter) {
        return {first, thereafter, 1s, [this] { return now; }};
    }

    /// What the target has received since the last call. Of the time of reports only the form is
    /// known.
    Entries received() {
        static const std::regex TIME(R"("timestamp":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z",)");
        for (std::string& line : target->entries) line = std::regex_replace(line, TIME, "");
        return std::exchange(target->entries, {});
    }

    std::chrono::steady_clock::time_point now;
    const std::shared_ptr<RecordingSink> target = std::make_shared<RecordingSink>();
};

/// The numbers of the entries that pass, out of 12, and how many the report at the end tells.
TEST_F(SamplingFilterTest, FirstPassAndThenEachSoManyth) {
    using Numbers = std::vector<int>;
    constexpr std::uint64_t MANY = UINT64_MAX;
    const Numbers all = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const std::vector<std::tuple<std::uint64_t, std::uint64_t, Numbers, int>> cases = {
        {3, 4, {1, 2, 3, 7, 11}, 1}, {3, 0, {1, 2, 3}, 9}, {0, 5, {5, 10}, 2}, {0, 0, {}, 12},
        {1, MANY, {1}, 11},          {2, 1, all, 0},       {12, 0, all, 0},    {MANY, MANY, all, 0},
    };
    for (const auto& [first, thereafter, passing, atTheEnd] : cases) {
        SamplingFilter filter(target, options(first, thereafter));
        const auto predicate = samplingPredicate(options(first, thereafter));
        Numbers accepted;
        for (int i = 1; i <= 12; ++i) {
            const Message entry = {{"i", i}, {"message", "M"}};
            filter.append(entry);
            if (predicate(entry)) accepted.push_back(i);
        }
        Numbers passed;
        std::size_t told = 0;
        for (const std::string& line : received()) {
            passed.push_back(Json::parse(line)["i"]);
            told += Json::parse(line).value("suppressed", 0U);
        }
        EXPECT_EQ(passed, passing);
        EXPECT_EQ(accepted, passing);
        EXPECT_EQ(passed.size() + told + atTheEnd, 12U);
        EXPECT_EQ(filter.suppressed(), 12 - passing.size());
        filter.flush();
        const Entries report = received();
        EXPECT_EQ(report.empty() ? 0 : Json::parse(report[0])["suppressed"].get<int>(), atTheEnd);
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
    append("C", "ERROR", 3);
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
        R"({"message":"C","severity":"ERROR"})",
        "7",
        R"({"message":"EntriesSuppressed","suppressed":1,)"
        R"("types":[{"severity":"info","suppressed":1,"type":"B"}]})",
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
    EXPECT_EQ(received(), Entries{R"({"message":"EntriesSuppressed","suppressed":2,)"
                                  R"("types":[{"suppressed":1,"type":"T5"},{"suppressed":1}]})"});
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
    constexpr int THREADS = 4;
    constexpr int ENTRIES = 5000;
    SamplingFilter filter(target, options(10, 7));
    std::vector<JoiningThread> threads;
    for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([&filter, type = t % 2 == 0 ? "A" : "B"] {
            for (int i = 1; i <= ENTRIES; ++i) {
                filter.append({{"message", type}});
                if (i % 1000 == 0) filter.flush();
            }
        });
    }
    threads.clear();
    filter.flush();
    std::uint64_t told = 0;
    int passed = 0;
    for (const std::string& line : target->entries) {
        const Json entry = Json::parse(line);
        told += entry.value("suppressed", std::uint64_t{0});
        passed += entry["message"] == "EntriesSuppressed" ? 0 : 1;
    }
    // Of the 10,000 entries of each type, the first 10 pass and then every seventh.
    EXPECT_EQ(passed, 2 * (10 + 9990 / 7));
    EXPECT_EQ(passed + told, std::uint64_t{THREADS} * ENTRIES);
    EXPECT_EQ(told, filter.suppressed());
}
