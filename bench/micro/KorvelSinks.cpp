// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "micro/Pairs.h"
#include "micro/Subjects.h"
#include "support/Request.h"
#include "support/Shapes.h"
#include "support/TemporaryPath.h"

#include <Korvel/ConsoleSink.h>
#include <Korvel/FileSink.h>
#include <Korvel/Filter.h>
#include <Korvel/LogglySink.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Bench {
namespace {

constexpr const char* NOWHERE = "/dev/null";
constexpr std::uint64_t SIZE_LIMIT = Korvel::LogglySink::MAX_ENTRY_SIZE;

Korvel::Message twelveKeys(std::size_t number) {
    return {{"method", "GET"},
            {"path", "/api/v1/orders/" + std::to_string(number)},
            {"status", STATUS},
            {"durationMs", 12.5},
            {"bytes", BYTES},
            {"user", "Zoë Müller"},
            {"ok", true},
            {"tags", std::vector<Korvel::Message>{"api", "orders"}},
            {"timestamp", TIMESTAMP},
            {"thread", THREAD},
            {"host", "node-17"},
            {"message", "RequestHandled"}};
}

/// Builds an entry and appends it through a Filter.
Side filtering(const std::function<bool(const Korvel::Message&)>& predicate) {
    const auto file = std::make_shared<Korvel::FileSink>(NOWHERE, false, false, SIZE_LIMIT);
    const auto filter = std::make_shared<Korvel::Filter>(file, predicate);
    return {[filter](std::size_t i) { filter->append(twelveKeys(i)); }};
}

/// Appends one entry that is built once.
Side appending(const std::shared_ptr<Korvel::Sink>& sink) {
    return {[sink, entry = twelveKeys(1)](std::size_t) { sink->append(entry); }};
}

Pair readingInFilter() {
    const auto reads = [](const Korvel::Message& entry) {
        return entry.at("status").getInteger() == STATUS;
    };
    return {filtering(reads), filtering([](const Korvel::Message&) { return true; })};
}

struct Console {
    std::ofstream stream{NOWHERE};
    Korvel::ConsoleSink sink{stream};
};

Pair consoleBesideFile() {
    const auto console = std::make_shared<Console>();
    return {appending({console, &console->sink}),
            appending(std::make_shared<Korvel::FileSink>(NOWHERE, false, true, SIZE_LIMIT))};
}

/// Both write real files, because LogglySink occasionally starts a new one.
struct Staging {
    TemporaryPath directory{std::filesystem::temp_directory_path(), "staging"};
    bool created = std::filesystem::create_directories(directory.path());
    Korvel::LogglySink loggly{directory.path()};
    Korvel::FileSink file{directory.path() / "one-file", true, false, SIZE_LIMIT};
};

Pair logglyBesideFile() {
    const auto staging = std::make_shared<Staging>();
    return {appending({staging, &staging->loggly}), appending({staging, &staging->file})};
}

}  // namespace

void addKorvelSinks() {
    addPair("filter/read", readingInFilter);
    addPair("sink/console", consoleBesideFile);
    addPair("sink/loggly", logglyBesideFile);
}

}  // namespace Bench
