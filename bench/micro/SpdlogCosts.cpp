// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "micro/Subjects.h"
#include "support/Request.h"

#include <benchmark/benchmark.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>

#include <memory>

namespace Bench {
namespace {

spdlog::logger warningLogger() {
    spdlog::logger logger("off", std::make_shared<spdlog::sinks::null_sink_mt>());
    logger.set_level(spdlog::level::warn);
    return logger;
}

void bare(benchmark::State& state) {
    spdlog::logger logger = warningLogger();
    for (auto step : state) {
        static_cast<void>(step);
        logger.debug("RequestHandled");
        benchmark::ClobberMemory();
    }
}

void list(benchmark::State& state) {
    spdlog::logger logger = warningLogger();
    for (auto step : state) {
        static_cast<void>(step);
        logger.debug("RequestHandled method={} status={} bytes={}", "GET", STATUS, BYTES);
        benchmark::ClobberMemory();
    }
}

}  // namespace

void addSpdlogCosts() {
    benchmark::RegisterBenchmark("off/bare/spdlog", bare);
    benchmark::RegisterBenchmark("off/list/spdlog", list);
}

}  // namespace Bench
