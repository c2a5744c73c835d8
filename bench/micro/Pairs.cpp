// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "micro/Pairs.h"

#include <benchmark/benchmark.h>

#include <ctime>

namespace Bench {
namespace {

double threadTime() {
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The processor time of one turn in seconds.
double takeTurn(const Side& side, std::size_t calls) {
    side.prepare();
    const double begin = threadTime();
    for (std::size_t i = 0; i < calls; ++i) side.call(i);
    return threadTime() - begin;
}

void run(benchmark::State& state, const Pair& pair) {
    double own = 0;
    double other = 0;
    while (state.KeepRunning()) {
        const double before = own + other;
        own += takeTurn(pair.own, pair.callsATurn);
        other += takeTurn(pair.other, pair.callsATurn);
        state.SetIterationTime(own + other - before);
    }
    const auto turns = static_cast<double>(state.iterations());
    const double calls = turns * static_cast<double>(pair.callsATurn);
    state.counters["own"] = own * 1e9 / calls;
    state.counters["other"] = other * 1e9 / calls;
}

}  // namespace

void addPair(const std::string& name, const std::function<Pair()>& make) {
    const auto work = [make](benchmark::State& state) { run(state, make()); };
    benchmark::RegisterBenchmark(name.c_str(), work)->UseManualTime();
}

}  // namespace Bench
