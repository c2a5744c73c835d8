/// Checks a directory tree and keeps a log of it: a whole program around the library, from the
/// command line to the last flush. LogChain.cpp is where the logger is built, Journal.cpp where
/// entries are made.

#include "Arguments.h"
#include "Journal.h"
#include "LogChain.h"
#include "Progress.h"
#include "ReadableText.h"
#include "Terminal.h"
#include "Walk.h"

#include <chrono>
#include <exception>
#include <iostream>

namespace DiskCheck {
namespace {

constexpr std::chrono::milliseconds PROGRESS_INTERVAL(250);

constexpr int STATUS_DONE = 0;
constexpr int STATUS_NO_LOG = 1;
constexpr int STATUS_WRONG_ARGUMENTS = 2;

void check(const Arguments& arguments) {
    Progress progress(isErrorOutputTerminal());
    LogChain chain(arguments.out, progress);
    Journal journal(chain.logger());
    Walk walk(journal, arguments.limit);
    walk.start(arguments.directory, arguments.threads);
    while (!walk.waitForEnd(PROGRESS_INTERVAL)) progress.show(journal.progressText());
    walk.join();
    journal.writeSummary({{L"path", readablePath(arguments.directory).text},
                          {L"threads", arguments.threads},
                          {L"limitReached", walk.hasReachedLimit()}});
    chain.close(journal.entries());
}

int runProgram(const std::vector<std::string>& words) {
    try {
        const Arguments arguments = parseArguments(words);
        if (arguments.wantsHelp) {
            std::cout << USAGE_LINE << HELP_TEXT;
        } else {
            check(arguments);
        }
        return STATUS_DONE;
    } catch (const UsageError& error) {
        std::cerr << "disk_check: " << error.what() << '\n' << USAGE_LINE;
        return STATUS_WRONG_ARGUMENTS;
    } catch (const std::exception& error) {
        std::cerr << "disk_check: " << error.what() << '\n';
        return STATUS_NO_LOG;
    }
}

}  // namespace
}  // namespace DiskCheck

int main(int argc, char** argv) {
    return DiskCheck::runProgram(std::vector<std::string>(argv + 1, argv + argc));
}
