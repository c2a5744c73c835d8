#include "micro/Pairs.h"
#include "micro/Subjects.h"
#include "support/Request.h"

#include <Korvel/Extras/Context.h>
#include <Korvel/Extras/SeverityLogger.h>
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace Bench {
namespace {

using Korvel::Extras::Severity;
using Korvel::Extras::SeverityLogger;

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

/// Logs through `logger` a message that costs nothing to make.
Side logging(const std::shared_ptr<Korvel::Logger>& logger) {
    return {[logger, type = std::wstring(L"RequestHandled")](std::size_t) {
        benchmark::DoNotOptimize(logger->log(type, Korvel::Message()));
    }};
}

Pair contextWithoutScope() {
    constexpr std::size_t CALLS = 1000;
    const auto drain = std::make_shared<Drain>();
    return {logging(Korvel::Extras::createContextExtender(drain)), logging(drain), CALLS};
}

}  // namespace

void addExtrasCosts() {
    benchmark::RegisterBenchmark("off/isOn/korvel", isOn);
    benchmark::RegisterBenchmark("off/bare/korvel", bare);
    benchmark::RegisterBenchmark("off/lazy/korvel", lazy);
    benchmark::RegisterBenchmark("off/list/korvel", list);
    addPair("extras/context", contextWithoutScope);
}

}  // namespace Bench
