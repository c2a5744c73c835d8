// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/Modes.h"
#include "support/Shapes.h"

#ifdef BENCH_NLOHMANN
#include "support/NlohmannShapes.h"
#endif
#ifdef BENCH_RAPIDJSON
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif

#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

namespace Bench {
namespace {

/// Renders once and returns the length.
using Renderer = std::function<std::size_t()>;

std::map<std::string, Renderer> makeRenderers() {
    std::map<std::string, Renderer> renderers;
    const Korvel::Message message = korvelEntry();
    renderers["korvel"] = [message] { return message.toJson(false, "").size(); };
#ifdef BENCH_NLOHMANN
    const nlohmann::json tree = nlohmannEntry();
    renderers["nlohmann"] = [tree] { return tree.dump().size(); };
#endif
#ifdef BENCH_RAPIDJSON
    const auto document = std::make_shared<rapidjson::Document>();
    document->Parse(message.toJson(false, "").c_str());
    renderers["rapidjson"] = [document] {
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        document->Accept(writer);
        return buffer.GetSize();
    };
#endif
    return renderers;
}

}  // namespace

void workRendering(const Arguments& arguments) {
    const auto renderers = makeRenderers();
    const auto renderer = renderers.find(arguments.subject);
    if (renderer == renderers.end()) throw std::invalid_argument("Nothing renders by that name.");
    std::size_t bytes = 0;
    for (unsigned i = 0; i < arguments.entries; ++i) bytes += renderer->second();
    std::cout << "{\"bytes\":" << bytes << "}\n";
}

}  // namespace Bench
