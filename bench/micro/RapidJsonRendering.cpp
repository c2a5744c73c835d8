// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

// Compiled twice: with the package's defaults, and with its SSE2 code, which a macro enables. The
// second build uses a different namespace to avoid clashes.

#include "micro/Subjects.h"
#include "support/Shapes.h"

#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <memory>
#include <string>

namespace Bench {
namespace {

namespace json = RAPIDJSON_NAMESPACE;

#ifdef RAPIDJSON_SSE2
constexpr const char* NAME = "/rapidjson-sse2";
#else
constexpr const char* NAME = "/rapidjson";
#endif

using DocumentPtr = std::shared_ptr<json::Document>;

void render(benchmark::State& state, const json::Document& document) {
    std::size_t bytes = 0;
    while (state.KeepRunning()) {
        json::StringBuffer buffer;
        json::Writer<json::StringBuffer> writer(buffer);
        document.Accept(writer);
        benchmark::DoNotOptimize(buffer.GetString());
        bytes = buffer.GetSize();
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}

void add(const std::string& shape, const DocumentPtr& document) {
    benchmark::RegisterBenchmark(("render/" + shape + NAME).c_str(),
                                 [document](benchmark::State& state) { render(state, *document); });
}

DocumentPtr entry() {
    auto document = std::make_shared<json::Document>();
    document->Parse(korvelEntry().toJson(false, "").c_str());
    return document;
}

DocumentPtr textOf(const std::string& text) {
    auto document = std::make_shared<json::Document>();
    document->SetString(text.data(), static_cast<json::SizeType>(text.size()),
                        document->GetAllocator());
    return document;
}

template <class Values>
DocumentPtr listOf(const Values& values) {
    auto document = std::make_shared<json::Document>();
    document->SetArray();
    for (const auto value : values) {
        document->PushBack(json::Value(value), document->GetAllocator());
    }
    return document;
}

}  // namespace

#ifdef RAPIDJSON_SSE2
void addRapidJsonSse2Rendering() {
#else
void addRapidJsonRendering() {
#endif
    add("entry", entry());
    add("ascii", textOf(asciiText()));
    add("mixed", textOf(mixedText()));
    add("escapes", textOf(escapedText()));
    add("integers", listOf(integers()));
    add("doubles", listOf(doubles()));
}

}  // namespace Bench
