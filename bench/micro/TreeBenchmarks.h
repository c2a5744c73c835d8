// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Bench {

/// The number of trees built in a row before they are freed in a row, as in a queue.
inline constexpr std::size_t TREES = 64;

/// Times only `work`; `before` prepares its input.
template <class Before, class Work>
void addTimed(const std::string& name, const Before& before, const Work& work) {
    const auto run = [=](benchmark::State& state) {
        while (state.KeepRunning()) {
            before();
            benchmark::ClobberMemory();
            const auto begin = std::chrono::steady_clock::now();
            work();
            benchmark::ClobberMemory();
            const std::chrono::duration<double> span = std::chrono::steady_clock::now() - begin;
            state.SetIterationTime(span.count());
        }
        state.counters["items"] = static_cast<double>(TREES);
    };
    benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime();
}

/// Adds the benchmarks of one library. `makeList` and `makeKeys` build the payload of the request
/// with a given number; `entry` is a complete entry.
template <class Tree, class Make>
void addTrees(const std::string& subject, const Make& makeList, const Make& makeKeys,
              const Tree& entry) {
    const auto trees = std::make_shared<std::vector<Tree>>(TREES);
    const auto clear = [=] {
        for (Tree& tree : *trees) tree = Tree();
    };
    const auto copy = [=] {
        for (Tree& tree : *trees) tree = entry;
    };
    const auto builder = [=](const Make& make) {
        return [=] {
            for (std::size_t i = 0; i < TREES; ++i) (*trees)[i] = make(static_cast<unsigned>(i));
        };
    };
    addTimed("build/list/" + subject, clear, builder(makeList));
    addTimed("build/keys/" + subject, clear, builder(makeKeys));
    addTimed("copy/entry/" + subject, clear, copy);
    addTimed("destroy/entry/" + subject, copy, clear);
}

}  // namespace Bench
