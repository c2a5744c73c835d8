// Logs until SIGTERM, in groups: ReopeningDriver PATH RUN PADDING
//
// Prints the number of entries after each group that the handler has flushed. PADDING is the length
// of a text in the last entry of a group.

#include <Korvel/Extras/ReopeningFileSink.h>
#include <Korvel/Korvel.h>

#include <csignal>
#include <iostream>

namespace {

Korvel::Extras::ReopeningFileSink* logFile = nullptr;
volatile std::sig_atomic_t isEnding = 0;

}  // namespace

int main(int, char** arguments) {
    constexpr int GROUP = 20;
    const std::string run = arguments[2];
    const std::string padding(std::stoul(arguments[3]), 'x');
    const auto sink = std::make_shared<Korvel::Extras::ReopeningFileSink>(arguments[1]);
    logFile = sink.get();
    std::signal(SIGHUP, [](int) { logFile->reopen(); });
    std::signal(SIGTERM, [](int) { isEnding = 1; });
    Korvel::SinkHandler handler;
    handler.installSink(sink);
    for (int number = 0; isEnding == 0;) {
        for (int i = 1; i <= GROUP; ++i) {
            const std::string text = i == GROUP ? padding : std::string();
            handler.log(L"Load", {{"run", run}, {"number", number++}, {"text", text}});
        }
        handler.flush();
        std::cout << number << std::endl;
    }
}
