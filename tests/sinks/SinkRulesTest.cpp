// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

/// Sinks that all write to one stream or file.
struct SinkRules : testing::TestWithParam<void (*)(SinkRules&)> {
    const TemporaryDirectory directory;
    const std::filesystem::path file = directory.path / "log";
    std::ofstream stream;
    std::vector<std::shared_ptr<Sink>> sinks;
};

static void makeConsole(SinkRules& rules) {
    rules.stream.open(rules.file);
    rules.sinks = {std::make_shared<ConsoleSink>(rules.stream)};
}

/// Where the system appends atomically, lines of two sinks on one file stay whole because each is a
/// single write.
static void makeFiles(SinkRules& rules) {
    const auto create = [&rules] { return FileSink::create(rules.file, true, true, UINT64_MAX); };
    const auto all = [](const Message&) { return true; };
    rules.sinks = {std::make_shared<Filter>(create(), all)};
#ifndef _WIN32
    rules.sinks.push_back(create());
#endif
}

TEST_P(SinkRules, EntriesOfManyThreadsStayWhole) {
    constexpr std::size_t THREADS = 4;
    constexpr std::size_t ENTRIES = 500;
    const Message entry({{"list", std::vector<Message>{1, 2}}, {"text", std::string(10000, 'x')}});
    GetParam()(*this);
    sinks[0]->append(entry);
    const std::string one = readFile(file);
    std::vector<JoiningThread> threads;
    for (std::size_t t = 0; t < THREADS; ++t) {
        threads.emplace_back([&sink = *sinks[t % sinks.size()], &entry] {
            for (std::size_t i = 0; i < ENTRIES; ++i) sink.append(entry);
        });
    }
    threads.clear();
    std::string expected;
    for (std::size_t i = 0; i <= THREADS * ENTRIES; ++i) expected += one;
    EXPECT_TRUE(readFile(file) == expected);
}

INSTANTIATE_TEST_SUITE_P(EverySink, SinkRules, testing::Values(makeConsole, makeFiles),
                         [](const auto& kind) { return kind.index == 0 ? "Console" : "Files"; });
