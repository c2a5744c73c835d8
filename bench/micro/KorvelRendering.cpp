// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "micro/Subjects.h"
#include "support/Shapes.h"

#include <benchmark/benchmark.h>

#include <string>
#include <utility>
#include <vector>

namespace Bench {
namespace {

void render(benchmark::State& state, const Korvel::Message& value) {
    std::size_t bytes = 0;
    while (state.KeepRunning()) {
        const std::string text = value.toJson(false, "");
        benchmark::DoNotOptimize(text.data());
        bytes = text.size();
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}

void add(const std::string& name, const Korvel::Message& value) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [value](benchmark::State& state) { render(state, value); });
}

template <class Values>
Korvel::Message listOf(const Values& values) {
    return std::vector<Korvel::Message>(values.begin(), values.end());
}

Korvel::Message wide(std::size_t size) {
    Korvel::Message map;
    for (std::size_t i = 0; i < size; ++i) map["key" + std::to_string(i)] = "a value";
    return map;
}

Korvel::Message deep(std::size_t depth) {
    Korvel::Message tree = "a value";
    for (std::size_t i = 0; i < depth; ++i) {
        Korvel::Message outer;
        outer[L"child"] = std::move(tree);
        tree = std::move(outer);
    }
    return tree;
}

}  // namespace

void addKorvelRendering() {
    add("render/entry/korvel", korvelEntry());
    add("render/ascii/korvel", asciiText());
    add("render/mixed/korvel", mixedText());
    add("render/escapes/korvel", escapedText());
    add("render/integers/korvel", listOf(integers()));
    add("render/doubles/korvel", listOf(doubles()));
}

void addGrowth() {
    for (const std::size_t size : {100U, 1000U, 10'000U, 100'000U}) {
        add("growth/width/" + std::to_string(size), wide(size));
        add("growth/depth/" + std::to_string(size), deep(size));
    }
}

}  // namespace Bench
