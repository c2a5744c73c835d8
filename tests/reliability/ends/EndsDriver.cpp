// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

// ends_driver DISK RUN BYTES: carries out the commands of check_ends.py. Prints the id of each
// entry, RUN-THREAD-NUMBER, once all sinks have it. The log file is rotated at BYTES.

#include "support/OperatorNew.h"
#include "support/SystemCalls.h"

#include <Korvel/Extras.h>
#include <Korvel/Korvel.h>

#include <execinfo.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iostream>

using namespace Korvel;
namespace fs = std::filesystem;

namespace {

void arm() {
    std::cin >> fault.letters >> fault.first >> fault.last >> fault.action;
    fault.calls = 0;
    allocationsLeft = fault.letters == "n" ? fault.first + 1 : 0;
}

/// Keeps what it accepts as a further link. The answers are t(rue), s(low and true), f(alse),
/// x (throws) and k(ills).
bool upload(const std::string& answers, const fs::path& file) {
    static std::atomic<bool> isBusy = false;
    static std::size_t count = 0;
    const std::string name = std::to_string(getpid()) + '-' + std::to_string(count);
    if (isBusy.exchange(true)) std::abort();
    const char answer = answers[count++ % answers.size()];
    if (answer == 'k') (void)std::raise(SIGKILL);
    if (answer == 's') std::this_thread::sleep_for(std::chrono::milliseconds(5));
    isBusy = false;
    if (answer == 'x') throw std::bad_alloc();
    if (answer != 'f') fs::create_hard_link(file, file.parent_path() / "../delivered" / name);
    return answer != 'f';
}

/// Shows which function of the standard library lets no exception out.
[[noreturn]] void showStack() {
    void* frames[64];
    backtrace_symbols_fd(frames, backtrace(frames, 64), STDERR_FILENO);
    std::abort();
}

Extras::Logging start(const std::shared_ptr<LogglySink>& staging, char** arguments) {
    const fs::path disk = arguments[1];
    const auto file = FileSink::create(disk / "file." += arguments[2], true, false, 1 << 20);
    Extras::ReopeningFileSinkOptions rotation;
    rotation.maxBytes = std::stoul(arguments[3]);
    rotation.keptFiles = 10'000;
    auto now = std::chrono::steady_clock::now();  // Goes so fast that each next try is due.
    rotation.clock = [now]() mutable { return now += std::chrono::seconds(1); };
    const auto acknowledge = [](const Message& entry) {
        return !(std::cout << entry.at(L"id").getString() + '\n' << std::flush).fail();
    };
    Extras::LoggingBuilder builder;
    builder.sink("staging", staging).file(disk / "app.jsonl", rotation).sink("file", file);
    return builder.sink("memory", std::make_shared<Extras::MemorySink>(4), acknowledge).start();
}

void carryOutCommands(char** arguments) try {
    const fs::path disk = arguments[1];
    for (const auto* name : {"staging", "delivered"}) fs::create_directories(disk / name);
    const auto staging = std::make_shared<LogglySink>(disk / "staging");
    const auto logging = start(staging, arguments);
    std::set_terminate(showStack);
    const auto log = [&](int thread, int number, std::size_t size) {
        const Extras::Context context({{"run", arguments[2]}});
        std::string id = arguments[2];
        id += '-' + std::to_string(thread) + '-' + std::to_string(number);
        logging.logger().info("Load", {{"id", id}, {"text", std::string(size, 'x')}});
    };
    const auto storm = [&](int thread) {
        for (int i = 0;; ++i) log(thread, i, i % 128 == 9 ? 200'000 : 9);
    };
    int number = 0;
    for (std::string command, answers; std::cin >> command;) {
        int count = 0;
        std::size_t size = 0;
        try {
            if (command == "fault") arm();
            if (command == "log" || command == "try") std::cin >> count >> size;
            while (count-- > 0) log(command == "try" ? 9 : 0, number++, size);
            if (size > 0) logging.chain()->flush();
            for (int i = 0; command == "storm" && i < 4; ++i) std::thread(storm, i).detach();
            if (command == "rotate") staging->useNewFile();
            if (command == "upload" && std::cin >> answers) {
                staging->setUploadFile(std::bind_front(upload, answers));
                for (int i = 0; i < 2; ++i) staging->uploadTemporaryFiles();
            }
            if (command == "wait") staging->waitForUpload();
            if (command == "fill") std::ofstream(disk / "ballast") << std::string(1 << 23, 'x');
            if (command == "free") fs::remove(disk / "ballast");
        } catch (const std::exception&) {}  // The next command comes all the same.
    }
} catch (const std::exception&) {}  // There was no memory or no thread.

}  // namespace

/// Returns 1 if the fault is still to come, and 2 if memory is left.
int main(int, char** arguments) {
    (void)Extras::LoggingBuilder().start();  // Makes what the process keeps.
    arm();
    const int before = liveBlocks;
    carryOutCommands(arguments);
    if (liveBlocks != before) return 2;
    return fault.letters == "n" ? allocationsLeft > 0 : fault.calls <= fault.first;
}
