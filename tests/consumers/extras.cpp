// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras.h>
#include <Korvel/Korvel.h>

#include <memory>

int main() {
    const auto entries = std::make_shared<Korvel::Extras::MemorySink>(8);
    {
        const auto handler = std::make_shared<Korvel::SinkHandler>();
        handler->installSink(entries);
        Korvel::Extras::SeverityLogger(handler).info("Hello", {{"answer", 42}});
    }
    return entries->entries().at(0).toJson(false, "") ==
                   R"({"answer":42,"message":"Hello","severity":"info"})"
               ? 0
               : 1;
}
