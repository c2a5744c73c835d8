// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Korvel.h>

#include <sstream>

int main() {
    std::ostringstream stream;
    {
        Korvel::SinkHandler handler;
        handler.installSink(std::make_shared<Korvel::ConsoleSink>(stream));
        handler.log("Hello", {{"answer", 42}});
    }
    return stream.str() == "\"answer\": 42\n\"message\": \"Hello\"\n\n" ? 0 : 1;
}
