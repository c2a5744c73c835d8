// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "micro/Subjects.h"
#include "support/NlohmannShapes.h"

#include <benchmark/benchmark.h>

#include <string>

namespace Bench {
namespace {

void render(benchmark::State& state, const nlohmann::json& value) {
    std::size_t bytes = 0;
    while (state.KeepRunning()) {
        const std::string text = value.dump();
        benchmark::DoNotOptimize(text.data());
        bytes = text.size();
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}

void add(const std::string& shape, const nlohmann::json& value) {
    benchmark::RegisterBenchmark(("render/" + shape + "/nlohmann").c_str(),
                                 [value](benchmark::State& state) { render(state, value); });
}

}  // namespace

void addNlohmannRendering() {
    add("entry", nlohmannEntry());
    add("ascii", asciiText());
    add("mixed", mixedText());
    add("escapes", escapedText());
    add("integers", integers());
    add("doubles", doubles());
}

}  // namespace Bench
