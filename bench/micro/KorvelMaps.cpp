// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "micro/Pairs.h"
#include "micro/Subjects.h"

#include <Korvel/Message.h>
#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Bench {
namespace {

using PlainMap = std::map<std::wstring, Korvel::Message>;

PlainMap plainMap(std::size_t size) {
    PlainMap map;
    for (std::size_t i = 0; i < size; ++i) {
        map[L"key" + std::to_wstring(i)] = i % 2 == 0 ? Korvel::Message(i) : "a value";
    }
    return map;
}

/// The same map as a Message built key by key.
Korvel::Message messageOf(const PlainMap& map) {
    Korvel::Message message;
    for (const auto& [key, value] : map) message[key] = value;
    return message;
}

/// Copies and destroys the copy.
template <class Map>
Side copying(const Map& map) {
    return {[map](std::size_t) {
        const Map copy = map;
        benchmark::DoNotOptimize(&copy);
    }};
}

/// Moves a map into a Target and destroys it.
template <class Target>
Side taking(const PlainMap& map, std::size_t calls) {
    const auto maps = std::make_shared<std::vector<PlainMap>>();
    return {[maps](std::size_t i) {
                const Target target(std::move((*maps)[i]));
                benchmark::DoNotOptimize(&target);
            },
            [maps, map, calls] { maps->assign(calls, map); }};
}

void buildTwentyKeys(benchmark::State& state) {
    while (state.KeepRunning()) {
        Korvel::Message entry;
        entry["id"] = 1;
        entry["user"] = 2;
        entry["status"] = 3;
        entry["bytes"] = 4;
        entry["method"] = 5;
        entry["retries"] = 6;
        entry["durationMs"] = 7;
        entry["requestId"] = 8;
        entry["sessionId"] = 9;
        entry["tenant"] = 10;
        entry["region"] = 11;
        entry["shard"] = 12;
        entry["queueLength"] = 13;
        entry["attempt"] = 14;
        entry["port"] = 15;
        entry["version"] = 16;
        entry["threads"] = 17;
        entry["cacheHits"] = 18;
        entry["cacheMisses"] = 19;
        entry["memoryUsed"] = 20;
        benchmark::DoNotOptimize(&entry);
    }
}

}  // namespace

void addKorvelMaps() {
    benchmark::RegisterBenchmark("build/20-keys/korvel", buildTwentyKeys);
    addPair("map/copy/100", [] {
        const PlainMap map = plainMap(100);
        return Pair{copying(messageOf(map)), copying(map)};
    });
    for (const std::size_t size : {100U, 1000U}) {
        addPair("map/take/" + std::to_string(size), [size] {
            const PlainMap map = plainMap(size);
            // Few enough for the maps of a turn to fit into the processor's private cache. With
            // more, both sides mostly wait for memory, and other load on the machine determines how
            // long.
            const std::size_t calls = 2000 / size;
            return Pair{taking<Korvel::Message>(map, calls), taking<PlainMap>(map, calls), calls};
        });
    }
}

}  // namespace Bench
