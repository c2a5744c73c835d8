// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/Logging.h>
#include <Korvel/Extras/MemorySink.h>

#include <nlohmann/json.hpp>

#include <atomic>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace Korvel::Extras;

namespace {

/// Without what differs from run to run.
LoggingOptions plainOptions() {
    LoggingOptions options;
    options.hasTimestamp = false;
    options.hasThread = false;
    return options;
}

}  // namespace

TEST(Logging, NoEntryEndsTheDeliveryOfTheOthers) {
    const TemporaryDirectory directory;
    const auto failing =
        std::make_shared<LambdaSink>([](const Message&) { throw std::runtime_error("no disk"); });
    const auto memory = std::make_shared<MemorySink>(100);
    std::vector<std::string> reports;
    LoggingOptions options = plainOptions();
    options.guard.reporter = [&](const GuardedSinkFailure& failure) {
        reports.push_back(failure.text);
    };
    const auto hasUser = [](const Message& entry) { return !entry.at("user").getString().empty(); };
    {
        const Logging logging = LoggingBuilder(options)
                                    .sink("failing", failing)
                                    .file(directory.path / "users.jsonl", {}, hasUser)
                                    .file(directory.path / "all.jsonl")
                                    .sink("memory", memory)
                                    .start();
        const SeverityLogger& log = logging.logger();
        EXPECT_TRUE(log.info("Absent", {{"n", 1}}));
        EXPECT_TRUE(log.info("Lone", {{L"user", L"\xD800"}}));
        EXPECT_TRUE(log.info(L"\xDFFF", {{"n", 0.0 / 0.0}, {"user", "Zoë"}}));
        log.flush();
        const MonitorSnapshot snapshot = logging.snapshot();
        EXPECT_EQ(snapshot.delivered, 3U);
        EXPECT_EQ(snapshot.restarts, 0U);
        const std::map<std::string, std::uint64_t> failed = {
            {"all.jsonl", 0}, {"failing", 3}, {"memory", 0}, {"users.jsonl", 1}};
        EXPECT_EQ(snapshot.failed, failed);
        log.info("Last");
    }
    EXPECT_EQ(readFile(directory.path / "all.jsonl"),
              "{\"message\":\"Absent\",\"n\":1,\"severity\":\"info\"}\n"
              "{\"message\":\"Lone\",\"severity\":\"info\",\"user\":\"\uFFFD\"}\n"
              "{\"message\":\"\uFFFD\",\"n\":null,\"severity\":\"info\",\"user\":\"Zoë\"}\n"
              "{\"message\":\"Last\",\"severity\":\"info\"}\n");
    EXPECT_EQ(readFile(directory.path / "users.jsonl"),
              "{\"message\":\"Lone\",\"severity\":\"info\",\"user\":\"\uFFFD\"}\n"
              "{\"message\":\"\uFFFD\",\"n\":null,\"severity\":\"info\",\"user\":\"Zoë\"}\n");
    EXPECT_EQ(memory->entries().size(), 4U);
    EXPECT_EQ(std::count(reports.begin(), reports.end(), "no disk"), 4);
}

TEST(Logging, EndTellsWhatWasRefusedAndLaterEntriesAreRefusedToo) {
    const TemporaryDirectory directory;
    const auto holding = std::make_shared<HoldingSink>();
    LoggingOptions options = plainOptions();
    options.ceiling->ceiling = 4;
    std::optional<SeverityLogger> copy;
    {
        const auto logging =
            LoggingBuilder(options).file(directory.path / "log").sink("holding", holding).start();
        copy = logging.logger();
        std::string results;
        for (int i = 0; i < 5; ++i) results += copy->info("Entry", i) ? '1' : '0';
        EXPECT_EQ(results, "11100");
        holding->released.open();
    }
    EXPECT_FALSE(copy->info("Late"));
    std::string expected;
    for (int i = 0; i < 3; ++i) {
        expected += R"({"message":"Entry","messageData":)" + std::to_string(i) +
                    R"(,"severity":"info"})"
                    "\n";
    }
    EXPECT_EQ(withoutTimes(readFile(directory.path / "log")),
              expected + R"({"bySeverity":{"info":2},"message":"EntriesRefused","number":2,)"
                         R"("severity":"warning","since":"TIME","timestamp":"TIME"})"
                         "\n");
    // The sinks are released, though the copy of the logger lives.
    EXPECT_EQ(holding.use_count(), 1);
}

TEST(Logging, EndDeliversAllThatOtherThreadsCouldStillLog) {
    LoggingOptions options = plainOptions();
    options.ceiling.reset();
    for (int round = 0; round < 20; ++round) {
        std::uint64_t delivered = 0;
        std::atomic<std::uint64_t> accepted = 0;
        const auto count = std::make_shared<LambdaSink>([&](const Message&) { ++delivered; });
        std::vector<JoiningThread> threads;
        std::optional<Logging> logging(LoggingBuilder(options).sink("count", count).start());
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([log = logging->logger(), &accepted] {
                while (log.info("Entry")) ++accepted;
            });
        }
        while (accepted < 100) std::this_thread::yield();
        logging.reset();
        threads.clear();
        EXPECT_EQ(delivered, accepted);
    }
}

TEST(Logging, EntryHasItsLocationIfAsked) {
    const TemporaryDirectory directory;
    LoggingOptions options;
    options.hasLocation = true;
    {
        const auto logging = LoggingBuilder(options).file(directory.path / "log").start();
        logging.logger().info("Entry");
    }
    const auto entry = nlohmann::json::parse(readFile(directory.path / "log"));
    EXPECT_EQ(entry["source"]["file"], __FILE__);
}

#ifndef _WIN32

TEST(Logging, EntriesThatAFileDropsAreFailuresAlsoWithoutAGuard) {
    for (const bool isGuarded : {true, false}) {
        LoggingOptions options = plainOptions();
        options.isGuarded = isGuarded;
        const auto file = std::make_shared<ReopeningFileSink>("/dev/full");
        const auto logging = LoggingBuilder(options).sink("full", file).start();
        logging.logger().info("Lost");
        logging.logger().flush();
        EXPECT_EQ(logging.snapshot().failed.at("full"), 1U);
    }
}

TEST(Logging, StuckFileDelaysNeitherSnapshotNorEndAndLaterEntriesAreRefused) {
    const TemporaryDirectory directory;
    const std::string path = directory.path / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDWR | O_NONBLOCK);
    const auto memory = std::make_shared<MemorySink>(10);
    LoggingOptions options = plainOptions();
    options.exit.limit = std::chrono::milliseconds(20);
    std::optional<SeverityLogger> copy;
    testing::internal::CaptureStderr();
    {
        const auto logging = LoggingBuilder(options).file(path).sink("memory", memory).start();
        copy = logging.logger();
        for (int i = 0; i < 10; ++i) copy->info("Entry", std::string(100'000, 'x'));
        EXPECT_EQ(logging.snapshot().waiting, 10U);
    }
    EXPECT_FALSE(copy->info("Late"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Korvel: a sink is stuck; entries not delivered: 10\n");
    std::string buffer(1000, ' ');
    while (memory.use_count() > 1) (void)!read(reader, buffer.data(), buffer.size());
    EXPECT_EQ(memory->entries().size(), 10U);
    close(reader);
}

#endif

TEST(Logging, FileThatCannotBeOpenedIsAnErrorAtOnce) {
    const TemporaryDirectory directory;
    LoggingBuilder builder(plainOptions());
    EXPECT_THROW(builder.file(directory.path / "absent" / "log"),
                 std::filesystem::filesystem_error);
    { const auto logging = builder.file(directory.path / "log").start(); }
    EXPECT_EQ(readFile(directory.path / "log"), "");
}
