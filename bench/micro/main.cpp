// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "micro/Subjects.h"

#include <benchmark/benchmark.h>

int main(int count, char** words) {
    Bench::addKorvelRendering();
    Bench::addKorvelConversions();
    Bench::addIconvConversions();
    Bench::addKorvelTrees();
    Bench::addKorvelMaps();
    Bench::addKorvelSinks();
    Bench::addExtrasCosts();
    Bench::addGrowth();
#ifdef BENCH_NLOHMANN
    Bench::addNlohmannRendering();
    Bench::addNlohmannTrees();
#endif
#ifdef BENCH_SPDLOG
    Bench::addSpdlogCosts();
#endif
#ifdef BENCH_RAPIDJSON
    Bench::addRapidJsonRendering();
    Bench::addRapidJsonSse2Rendering();
#endif
    benchmark::Initialize(&count, words);
    if (benchmark::ReportUnrecognizedArguments(count, words)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
