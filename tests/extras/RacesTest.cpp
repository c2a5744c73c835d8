// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <numeric>

using namespace Korvel::Extras;
using Counts = std::vector<std::int64_t>;

/// Counts the entries of each thread, and those that do not arrive once and in order.
struct Ledger : Sink {
    void append(const Message& entry) override {
        if (!entry.hasKey("by")) return;  // The note about refused entries.
        auto& next = delivered.at(static_cast<std::size_t>(entry.at("by").getInteger()));
        if (entry.at("i").getInteger() != next++) ++outOfOrder;
    }
    void flush() override {}

    Counts delivered = Counts(6);
    int outOfOrder = 0;
};

/// The first throws at every entry, the second at some.
static std::vector<std::shared_ptr<Sink>> hardSinks(const TemporaryDirectory& directory) {
    const auto file = FileSink::create(directory.path / "log", true, true, UINT64_MAX);
    return {std::make_shared<LambdaSink>([](const Message&) { throw 42; }), file,
            std::make_shared<WellFormedSink>(file)};
}

/// A handler, with a BoundedLogger in every third life, or a Logging. Used by many threads at once.
struct Life {
    explicit Life(int number) {
        LoggingOptions options;
        options.guard.reporter = [](const GuardedSinkFailure&) {};
        if (number % 3 == 0) {
            LoggingBuilder builder(options);
            for (const auto& sink : sinks) builder.sink("hard", sink);
            logging.emplace(builder.sink("ledger", ledger).start());
            logger = logging->chain();
            return;
        }
        for (auto& sink : sinks) sink = std::make_shared<GuardedSink>(sink, options.guard);
        logger = handler = std::make_shared<SinkHandler>();
        handler->installSink(ledger);
        if (number % 3 == 1) return;
        logger = std::make_shared<BoundedLogger>(std::make_shared<Monitor>(handler));
    }

    void act(std::size_t by) {
        std::minstd_rand random(static_cast<unsigned>(by) + 1);
        for (int action = 0; action < 500; ++action) {
            const std::size_t choice = random() % 64;
            const Message& value = values[(std::min)(choice, std::size_t{3})];
            if (handler) manage(choice, sinks[random() % sinks.size()]);
            if (choice == 7) logger->flush();
            if (logger->log("T", {{"by", by}, {"i", accepted[by]}, {"v", value}})) ++accepted[by];
        }
    }

    void manage(std::size_t choice, const std::shared_ptr<Sink>& sink) {
        if (choice == 0) handler->installSink(sink);
        if (choice == 1) handler->removeSink(sink);
        const std::lock_guard<std::mutex> lock(ownerMutex);
        if (choice == 2) handler->stopProcessing();
        if (choice >= 3 && choice < 6) handler->startProcessing();
    }

    const TemporaryDirectory directory;
    std::vector<std::shared_ptr<Sink>> sinks = hardSinks(directory);
    const std::shared_ptr<Ledger> ledger = std::make_shared<Ledger>();
    const std::vector<Message> values{NAN, std::wstring(1, L'\xD800'), std::string(5000, 'x'), {}};
    Counts accepted = ledger->delivered;
    std::mutex ownerMutex;
    std::shared_ptr<SinkHandler> handler;
    std::optional<Logging> logging;
    std::shared_ptr<Logger> logger;
};

TEST(Races, AllCallsAtOnceCostNoAcceptedEntry) {
    const char* const lives = std::getenv("LIVES");
    std::int64_t entries = 0;
    for (int number = 0; number < (lives == nullptr ? 6 : std::atoi(lives)); ++number) {
        Life life(number);
        std::vector<JoiningThread> threads;
        for (std::size_t by = 0; by < life.accepted.size(); ++by) {
            threads.emplace_back([&life, by] { life.act(by); });
        }
        if (number % 2 == 0) life.logging.reset();  // Its logger outlives it.
        threads.clear();
        life.logging.reset();
        if (life.handler) life.handler->startProcessing();
        life.logger = life.handler = nullptr;
        EXPECT_EQ(life.ledger->delivered, life.accepted);
        EXPECT_EQ(life.ledger->outOfOrder, 0);
        entries += std::accumulate(life.accepted.begin(), life.accepted.end(), std::int64_t{0});
    }
    if (lives != nullptr) std::cout << entries << " entries accepted and delivered\n";
}
