// Trees of any values through the sinks of Extras. Trees.h says what a reader must find.

#include "support/Trees.h"

#include <Korvel/Extras.h>

#include <sstream>

using namespace Korvel::Extras;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const auto memory = std::make_shared<MemorySink>(1);
    static WellFormedSink wellFormed(memory);
    static std::ostringstream console;
    static LineConsoleSink lines(console);
    static GuardedSinkOptions options;
    options.reporter = [](const GuardedSinkFailure&) {};
    static GuardedSink file(std::make_shared<ReopeningFileSink>("/dev/null"), options);
    Trees trees;
    trees.isHostile = true;
    trees.next = [data, size, used = std::size_t{0}](std::uint64_t below) mutable {
        std::uint64_t number = 0;
        for (int i = 0; i < (below > 256 ? 8 : 1); ++i) {
            number = number << 8 | (used < size ? data[used++] : 0);
        }
        return number % below;
    };
    const auto [message, json] = trees.container(true);
    wellFormed.append(message);
    const std::string line = memory->take().at(0).toJson(false, "");
    if (nlohmann::json::parse(line) != json) __builtin_trap();
    lines.append(message);
    const std::string shown = console.str();
    console.str("");
    if (shown.find('\n') != shown.size() - 1) __builtin_trap();
    file.append(message);
    return 0;
}
