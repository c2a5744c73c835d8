// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

/// StageEntries DIRECTORY [FILES [ENTRIES]]: stages entries from 4 threads, each with an "id" of
/// its own, in at least so many files: 16384 of a little over 1 KiB, or ENTRIES of about 166 bytes,
/// which begin with ten digits that hardly compress. The first one is longer than the default limit
/// for a line in most programs.

#include <Korvel/Korvel.h>

#include <atomic>
#include <random>
#include <thread>

/// Like the one of docs/shipping.md.
std::shared_ptr<Korvel::Logger> withEntryIds(std::shared_ptr<Korvel::Logger> logger) {
    const auto number = std::make_shared<std::atomic<std::uint64_t>>(0);
    auto nextId = [number, process = std::random_device()()](const Korvel::Message&) {
        return Korvel::Message(std::to_string(process) + '-' + std::to_string((*number)++));
    };
    return std::make_shared<Korvel::Extender>(logger, L"entry_id", nextId);
}

int main(int argc, char** argv) {
    constexpr int THREADS = 4;
    const int entries = argc > 3 ? std::stoi(argv[3]) : 16384;
    const std::size_t length = argc > 3 ? 52 : 1024;
    const auto sink = std::make_shared<Korvel::LogglySink>(argv[1]);
    const auto handler = std::make_shared<Korvel::SinkHandler>();
    handler->installSink(sink);
    const auto logger = withEntryIds(Korvel::createTimestampExtender(handler, L"timestamp"));
    const int part = entries / (argc > 2 ? std::stoi(argv[2]) : 1);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&logger, &sink, entries, length, part, thread] {
            for (int id = thread; id < entries; id += THREADS) {
                std::string filler(id == 0 ? 200'000 : length, 'x');
                const auto digits =
                    std::uint64_t(id) * 2'654'435'761U % 9'000'000'000U + 1'000'000'000U;
                filler.replace(0, 10, std::to_string(digits));
                logger->log("Staged", {{"id", id}, {"filler", filler}});
                if (id % part != part - 1) continue;
                logger->flush();
                sink->useNewFile();
            }
        });
    }
    for (auto& thread : threads) thread.join();
}
