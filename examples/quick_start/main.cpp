// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Korvel.h>

int main() {
    auto handler = std::make_shared<Korvel::SinkHandler>();
    handler->installSink(std::make_shared<Korvel::ConsoleSink>());
    handler->installSink(Korvel::FileSink::create("app.jsonl", true, false, 1 << 20));

    std::shared_ptr<Korvel::Logger> logger =
        Korvel::createStaticExtender(handler, L"service", "orders");
    logger = Korvel::createTimestampExtender(logger, L"timestamp");

    logger->log("OrderPlaced", {{"order", 4711}, {"total", 59.9}, {"buyer", {{"vip", true}}}});
    // The destructor of the handler delivers what is queued.
}
