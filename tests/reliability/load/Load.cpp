// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras.h>

#include <malloc.h>
#include <unistd.h>

#include <cmath>
#include <iostream>

using namespace Korvel::Extras;

/// The numbers of the command line.
static std::vector<double> sizes;

/// Exits while other threads log. What was accepted before ends with "Exit".
static void logAndExit(const std::filesystem::path& path) {
    LoggingOptions options;
    options.ceiling->ceiling = 1000;
    const auto logging = LoggingBuilder(options).file(path).start();
    const auto log = [&logging] {
        for (;;) logging.chain()->log("T", NAN);
    };
    for (int i = 0; i < 3; ++i) std::thread(log).detach();
    while (logging.snapshot().delivered < 1000) std::this_thread::yield();
    while (!logging.logger().info("Exit")) continue;
    std::exit(0);
}

TEST(Load, ExitDeliversWhatWasAcceptedBefore) {
    const TemporaryDirectory directory;
    for (int i = 0; i < sizes[0]; ++i) {
        const auto path = directory.path / std::to_string(i);
        EXPECT_EXIT(logAndExit(path), testing::ExitedWithCode(0), "");
        const std::string lines = readFile(path);
        // The system can tear the line of a later entry, where a page ends.
        EXPECT_NE(lines.find('\n', lines.find(R"("Exit")")), std::string::npos);
    }
    std::cout << sizes[0] << " exits, all accepted entries in the file\n";
}

static double residentMiB() {
    double pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / 0x100000;
}

static double filesIn(const std::filesystem::path& directory) {
    return static_cast<double>(std::distance(std::filesystem::directory_iterator(directory), {}));
}

static Message order(int number) {
    return {{"order", number}, {"user", "Zoë"}, {"total", 59.9}, {"path", "/orders/new/confirmed"}};
}

TEST(Load, SoakLeavesTheProcessAsItWas) {
    const TemporaryDirectory directory;
    const auto sink = std::make_shared<LogglySink>(directory.path);
    std::int64_t uploaded = 0;
    sink->setUploadFile([&uploaded, offers = 0](const std::filesystem::path& path) mutable {
        if (++offers % 5 == 0) return false;
        const std::string lines = readFile(path);
        uploaded += std::count(lines.begin(), lines.end(), '\n');
        return true;
    });
    const char* const names[] = {" MiB", " threads", " descriptors", " files"};
    // A run of uploads can meet a sample, or not.
    const double slack[] = {16, 1, 2, 10};
    double highest[2][4] = {};  // After the warm-up, and at the end.
    LoggingOptions options;
    options.ceiling = BoundedLoggerOptions{10'000, 0, std::chrono::minutes(1)};
    std::optional<Logging> logging(LoggingBuilder(options).sink("staging", sink).start());
    for (int i = 0; i < sizes[0]; ++i) {
        EXPECT_TRUE(logging->logger().info("OrderPlaced", order(i)));
        if (i % 500 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(4));
        if (i % 5000 != 0) continue;
        sink->uploadTemporaryFiles();
        if (i < sizes[0] / 5) continue;
        const double now[] = {residentMiB(), filesIn("/proc/self/task"), filesIn("/proc/self/fd"),
                              filesIn(directory.path)};
        auto& part = highest[i < sizes[0] * 3 / 5 ? 0 : 1];
        for (int k = 0; k < 4; ++k) part[k] = std::max(part[k], now[k]);
    }
    logging.reset();
    sink->useNewFile();
    for (int run = 0; run < 5; ++run) {
        sink->uploadTemporaryFiles();
        sink->waitForUpload();
    }
    EXPECT_EQ(uploaded, sizes[0]);
    EXPECT_EQ(filesIn(directory.path), 1);
    std::cout << sizes[0] << " entries uploaded";
    for (int i = 0; i < 4; ++i) {
        EXPECT_LE(highest[1][i], highest[0][i] + slack[i]) << names[i];
        std::cout << ", " << highest[0][i] << " -> " << highest[1][i] << names[i];
    }
    std::cout << '\n';
}

TEST(Load, BurstLeavesOnlyFreeMemory) {
    std::mutex gate;
    const auto handler = std::make_shared<SinkHandler>();
    handler->installSink(std::make_shared<LambdaSink>(
        [&gate](const Message&) { const std::lock_guard<std::mutex> lock(gate); }));
    const auto block = [&](Logger& logger) {
        const std::lock_guard<std::mutex> blocked(gate);
        std::vector<JoiningThread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&logger] {
                for (int k = 0; k < sizes[0] / 4; ++k) logger.log("OrderPlaced", order(k));
            });
        }
        threads.clear();
        return residentMiB();
    };
    const double before = residentMiB();
    const double first = block(*handler);
    handler->flush();
    const double delivered = residentMiB();
    const auto used = static_cast<double>(mallinfo2().uordblks) / 0x100000;
    const double second = block(*handler);
    handler->flush();
    malloc_trim(0);
    const double trimmed = residentMiB();
    BoundedLogger bounded(std::make_shared<Monitor>(handler));
    const double third = block(bounded);
    std::cout << before << " MiB, in a burst " << first << ", delivered " << delivered << " with "
              << used << " in use, in a second burst " << second << ", after malloc_trim "
              << trimmed << ", in a third one by a BoundedLogger " << third << '\n';
    EXPECT_LT(used, 16);
    // malloc gives new threads other heaps, and keeps up to 64 MiB of each.
    EXPECT_LT(second, first * 1.5);
    EXPECT_LT(trimmed, before + 5 * 64);
    EXPECT_LT(third, trimmed + 64);
}

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    for (int i = 1; i < count; ++i) sizes.push_back(std::stod(arguments[i]));
    return RUN_ALL_TESTS();
}
