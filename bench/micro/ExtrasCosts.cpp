// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "micro/Pairs.h"
#include "micro/Subjects.h"
#include "support/Request.h"
#include "support/Shapes.h"

#include <Korvel/Extras/Context.h>
#include <Korvel/Extras/Monitor.h>
#include <Korvel/Extras/SeverityLogger.h>
#include <Korvel/Extras/WellFormedSink.h>
#include <Korvel/FileSink.h>
#include <Korvel/SinkHandler.h>
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>

namespace Bench {
namespace {

using Korvel::Extras::Severity;
using Korvel::Extras::SeverityLogger;

/// The number of calls in a turn of a side that takes less than a microsecond.
constexpr std::size_t CALLS = 1000;

/// The end of a chain. It costs next to nothing, but the call does, as into another library.
class Drain : public Korvel::Logger {
public:
    [[gnu::noinline]] bool log(const std::wstring& /*type*/, Korvel::Message /*message*/) override {
        return true;
    }
    void flush() override {}
};

/// Measures a call whose severity is off. The compiler must read the threshold each time.
template <class Call>
void callOff(benchmark::State& state, Call call) {
    const SeverityLogger logger(std::make_shared<Drain>(), Severity::Warning);
    for (auto step : state) {
        static_cast<void>(step);
        benchmark::DoNotOptimize(call(logger));
        benchmark::ClobberMemory();
    }
}

void isOn(benchmark::State& state) {
    callOff(state, [](const SeverityLogger& logger) { return logger.isOn(Severity::Debug); });
}

void bare(benchmark::State& state) {
    callOff(state, [](const SeverityLogger& logger) { return logger.debug("RequestHandled"); });
}

void lazy(benchmark::State& state) {
    callOff(state, [](const SeverityLogger& logger) {
        return logger.debug("RequestHandled", [] {
            return Korvel::Message({{"method", "GET"}, {"status", STATUS}, {"bytes", BYTES}});
        });
    });
}

void list(benchmark::State& state) {
    callOff(state, [](const SeverityLogger& logger) {
        return logger.debug("RequestHandled",
                            {{"method", "GET"}, {"status", STATUS}, {"bytes", BYTES}});
    });
}

/// Logs through `logger` a message that costs nothing to make. Each turn begins with an empty
/// queue.
Side logging(const std::shared_ptr<Korvel::Logger>& logger) {
    return {[logger, type = std::wstring(L"RequestHandled")](std::size_t) {
                benchmark::DoNotOptimize(logger->log(type, Korvel::Message()));
            },
            [logger] { logger->flush(); }};
}

Pair contextWithoutScope() {
    const auto drain = std::make_shared<Drain>();
    return {logging(Korvel::Extras::createContextExtender(drain)), logging(drain), CALLS};
}

/// The workers deliver meanwhile, and read and write the counters.
Pair monitorBesideHandler() {
    const auto handler = std::make_shared<Korvel::SinkHandler>();
    const auto monitored = std::make_shared<Korvel::SinkHandler>();
    return {logging(std::make_shared<Korvel::Extras::Monitor>(monitored)), logging(handler), CALLS};
}

/// Appends one clean entry that is built once.
Side appending(const std::shared_ptr<Korvel::Sink>& sink) {
    return {[sink, entry = korvelEntry()](std::size_t) { sink->append(entry); }};
}

Pair wellFormedBesideFile() {
    const auto file = std::make_shared<Korvel::FileSink>("/dev/null", false, false, UINT64_MAX);
    return {appending(std::make_shared<Korvel::Extras::WellFormedSink>(file)), appending(file)};
}

}  // namespace

void addExtrasCosts() {
    benchmark::RegisterBenchmark("off/isOn/korvel", isOn);
    benchmark::RegisterBenchmark("off/bare/korvel", bare);
    benchmark::RegisterBenchmark("off/lazy/korvel", lazy);
    benchmark::RegisterBenchmark("off/list/korvel", list);
    addPair("extras/context", contextWithoutScope);
    addPair("extras/monitor", monitorBesideHandler);
    addPair("extras/wellFormed", wellFormedBesideFile);
}

}  // namespace Bench
