// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

/// Walks a directory tree and logs it: a complete program that uses the library, from the command
/// line to the last flush. LogChain.cpp builds the logger, Journal.cpp creates entries, and
/// Staging.cpp delivers them.

#include "Arguments.h"
#include "Delivery.h"
#include "Journal.h"
#include "LogChain.h"
#include "ReadableText.h"
#include "Staging.h"
#include "Walk.h"

#include "command_line/CommandLine.h"
#include "command_line/Progress.h"
#include "command_line/Terminal.h"

#include <chrono>
#include <memory>
#include <utility>

namespace DiskCheck {
namespace {

constexpr std::chrono::milliseconds PROGRESS_INTERVAL(250);

void logTree(const Arguments& arguments, std::shared_ptr<Korvel::Sink> staging) {
    CommandLine::Progress progress(CommandLine::isErrorOutputTerminal());
    LogChain chain(arguments.out, progress, std::move(staging));
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

std::unique_ptr<Delivery> makeDelivery(const Arguments& arguments) {
    if (arguments.uploadUrl.empty()) return makeLocalDelivery(arguments.stage);
    return makeHttpDelivery(arguments.uploadUrl);
}

void check(const Arguments& arguments) {
    if (arguments.stage.empty()) {
        logTree(arguments, nullptr);
    } else {
        Staging staging(arguments.stage, makeDelivery(arguments));
        logTree(arguments, staging.sink());
        staging.deliver();
    }
}

}  // namespace
}  // namespace DiskCheck

int main(int argc, char** argv) {
    return CommandLine::runProgram("disk_check", [argc, argv] {
        const auto arguments = DiskCheck::parseArguments(argc, argv);
        if (arguments) DiskCheck::check(*arguments);
        return true;
    });
}
