// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/GuardedSink.h>

using namespace Korvel::Extras;
using Operation = GuardedSinkFailure::Operation;
using std::chrono::steady_clock;

static std::shared_ptr<Sink> throwing(const std::string& text) {
    return std::make_shared<LambdaSink>([text](const Message&) { throw std::runtime_error(text); },
                                        [text] { throw std::runtime_error(text); });
}

/// A failure in one line.
static std::string lineOf(const GuardedSinkFailure& failure) {
    std::string line = failure.isFallback ? "fallback " : "";
    line += failure.operation == Operation::Append ? "append " : "flush ";
    line += std::to_string(failure.inARow) + '/' + std::to_string(failure.total) + ' ';
    line += failure.entry == nullptr ? "-" : failure.entry->toJson(false, "");
    return line + ' ' + failure.text;
}

TEST(GuardedSink, FallbackGetsTheFailedEntriesAndASuccessEndsTheRow) {
    const auto target = std::make_shared<LambdaSink>([](const Message& entry) {
        if (entry.getInteger() % 3 == 2) throw std::runtime_error("full");
    });
    const auto fallback = std::make_shared<RecordingSink>();
    Entries reports;
    GuardedSinkOptions options;
    options.fallback = fallback;
    options.reporter = [&reports](const auto& failure) { reports.push_back(lineOf(failure)); };
    GuardedSink guard(target, options);
    for (int i = 0; i < 7; ++i) guard.append(i);
    EXPECT_EQ(fallback->entries, (Entries{"2", "5"}));
    EXPECT_EQ(reports, (Entries{"append 1/1 2 full", "append 1/2 5 full"}));
    EXPECT_EQ(guard.state().failures, 2U);
    EXPECT_EQ(guard.state().failuresInARow, 0U);
    EXPECT_FALSE(guard.state().failingSince);
}

TEST(GuardedSink, ReporterLearnsOfEveryFailureAndMayThrowItself) {
    bool isFull = true;
    const auto target = std::make_shared<LambdaSink>(
        [&isFull](const Message& entry) {
            if (entry.isNull()) throw 42;
            if (isFull) throw std::runtime_error("full");
        },
        [&isFull] {
            if (isFull) throw std::runtime_error("torn");
        });
    Entries reports;
    GuardedSinkOptions options;
    options.fallback = throwing("broken");
    options.reporter = [&reports](const GuardedSinkFailure& failure) {
        reports.push_back(lineOf(failure));
        std::rethrow_exception(failure.exception);
    };
    GuardedSink guard(target, options);
    const auto before = std::chrono::system_clock::now();
    guard.append(1);
    guard.append(Message());
    const auto after = std::chrono::system_clock::now();
    guard.flush();
    const GuardedSinkState failing = guard.state();
    isFull = false;
    guard.flush();
    EXPECT_EQ(guard.state().failuresInARow, 2U);
    guard.append(2);
    guard.append(Message());
    EXPECT_EQ(reports, (Entries{
                           "append 1/1 1 full",
                           "fallback append 1/1 1 broken",
                           "append 2/2 null unknown exception",
                           "fallback append 2/2 null broken",
                           "flush 1/3 - torn",
                           "fallback flush 1/3 - broken",
                           "fallback flush 2/4 - broken",
                           "append 1/4 null unknown exception",
                           "fallback append 3/5 null broken",
                       }));
    EXPECT_EQ(failing.failures, 3U);
    EXPECT_EQ(failing.failuresInARow, 3U);
    EXPECT_EQ(failing.fallbackFailures, 3U);
    EXPECT_GE(failing.failingSince, before);
    EXPECT_LE(failing.failingSince, after);
    EXPECT_EQ(guard.state().failuresInARow, 1U);
    EXPECT_EQ(guard.state().unreported, reports.size());
}

TEST(GuardedSink, AReportInsideAReportIsOnlyCountedButOtherThreadsReport) {
    bool isOtherThreadHeard = false;
    Entries reports;
    std::function<void()> whileReporting;
    GuardedSinkOptions options;
    options.reporter = [&](const GuardedSinkFailure& failure) {
        if (failure.entry->getInteger() == 2) {
            isOtherThreadHeard = true;
        } else {
            reports.push_back(lineOf(failure));
            whileReporting();
        }
    };
    GuardedSink guard(throwing("full"), options);
    GuardedSink other(nullptr, options);
    whileReporting = [&] {
        guard.append(3);
        other.append(4);
        const JoiningThread thread([&guard] { guard.append(2); });
    };
    guard.append(1);
    whileReporting = [] {};
    other.append(5);
    EXPECT_EQ(reports, (Entries{"append 1/1 1 full", "append 2/2 5 there is no sink"}));
    EXPECT_TRUE(isOtherThreadHeard);
    EXPECT_EQ(guard.state().failures, 3U);
    EXPECT_EQ(guard.state().unreported, 1U);
    EXPECT_EQ(other.state().unreported, 1U);
}

TEST(GuardedSink, DefaultReporterWritesOneLineInAnIntervalAndTheRestAtTheEnd) {
    const auto target = std::make_shared<LambdaSink>([](const Message&) {
        throw std::runtime_error("no \x1b[31mspace\n" + std::string(500, 'x'));
    });
    GuardedSinkOptions options;
    options.name = "disk";
    options.fallback = throwing("broken");
    testing::internal::CaptureStderr();
    for (const auto interval : {std::chrono::hours(0), std::chrono::hours(1)}) {
        options.interval = interval;
        GuardedSink guard(target, options);
        guard.append(1);
        guard.flush();
    }
    const std::string first =
        "Korvel: disk failed to append: no ?[31mspace?" + std::string(286, 'x');
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              first +
                  "\nKorvel: disk fallback failed to append: broken\n"
                  "Korvel: disk fallback failed to flush: broken\n" +
                  first + "\nKorvel: disk ends (2 failures not shown)\n");
}

/// On the real clock, whatever pauses the test suffers.
TEST(GuardedSink, FailuresThatWereNotShownAreToldOnceTheSinkWorksAgain) {
    constexpr std::chrono::milliseconds INTERVAL(20);
    GuardedSinkOptions options;
    options.interval = INTERVAL;
    testing::internal::CaptureStderr();
    GuardedSink guard(std::make_shared<LambdaSink>([](const Message& entry) {
                          if (entry.isNull()) throw std::runtime_error("full");
                      }),
                      options);
    const auto start = steady_clock::now();
    for (int i = 0; i < 1000; ++i) guard.append(Message());
    const auto end = steady_clock::now() + INTERVAL;
    do guard.append(1);
    while (steady_clock::now() < end);
    guard.append(1);
    std::istringstream lines(testing::internal::GetCapturedStderr());
    std::size_t told = 0;
    std::int64_t count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        if (line.find("failed to append") != std::string::npos) ++told;
        const std::size_t number = line.find('(');
        if (number != std::string::npos) told += std::stoul(line.substr(number + 1));
    }
    EXPECT_EQ(told, 1000U);
    EXPECT_LE(count, (steady_clock::now() - start) / INTERVAL + 1);
}
