#include <Korvel/Korvel.h>

#include <sys/wait.h>
#include <unistd.h>

#include <sstream>

using namespace Korvel;

static int logWhile(void (*meanwhile)(SinkHandler&)) {
    std::ostringstream stream;
    SinkHandler handler;
    handler.installSink(std::make_shared<ConsoleSink>(stream));
    const auto logger = createTimestampExtender(
        createThreadIdExtender(std::shared_ptr<Logger>(&handler, [](Logger*) {}), L"thread"),
        L"time");
    logger->log("T", 1.5);
    meanwhile(handler);
    logger->log("T", 2.5);
    handler.stopProcessing();
    return static_cast<int>(stream.str().size());
}

/// Both return how many characters were logged.
extern "C" int logSome() {
    return logWhile([](SinkHandler&) {});
}

extern "C" int logAroundFork() {
    return logWhile([](SinkHandler&) {
        const pid_t child = fork();
        if (child == 0) _exit(0);
        int status = -1;
        waitpid(child, &status, 0);
        const pid_t program = fork();
        if (program == 0) execl("/bin/true", "true", nullptr);
        waitpid(program, &status, 0);
    });
}
