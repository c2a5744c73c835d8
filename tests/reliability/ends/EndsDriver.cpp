// ends_driver DISK RUN BYTES: carries out the commands of check_ends.py. Prints the id of each
// entry, RUN-THREAD-NUMBER, once all sinks have it. The log file is rotated at BYTES.

#include "support/OperatorNew.h"

#include <Korvel/Extras.h>
#include <Korvel/Korvel.h>

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iostream>

using namespace Korvel;
namespace fs = std::filesystem;

namespace {

/// What happens to the calls with one of the letters, counted from `first` up to `last`: an error
/// number, or one of these.
enum Action { NONE = 0, SHORT = -1, KILL = -2 };
std::string letters;
int first = 0;
int last = 0;
int action = NONE;
std::atomic<int> calls = 0;

void arm() {
    std::cin >> letters >> first >> last >> action;
    calls = 0;
    allocationsLeft = letters == "n" ? first + 1 : 0;
}

int nextAction(char letter) {
    if (letters.find(letter) == std::string::npos) return NONE;
    const int call = calls++;
    if (call < first || call >= last) return NONE;
    if (action == KILL && letter != 'w') (void)std::raise(SIGKILL);
    errno = action;
    return action;
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

// The libraries call these instead of the system's.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {
int open(const char* path, int flags, ...) {
    return nextAction('o') > NONE ? -1 : static_cast<int>(syscall(SYS_open, path, flags, 0640));
}
ssize_t write(int file, const void* bytes, std::size_t size) {
    const int now = nextAction('w');
    if (now > NONE) return -1;
    const ssize_t written = syscall(SYS_write, file, bytes, now == NONE ? size : (size + 1) / 2);
    if (now == KILL) (void)std::raise(SIGKILL);
    return written;
}
int close(int file) {
    const int now = nextAction('c');
    return syscall(SYS_close, file) == 0 && now <= NONE ? 0 : -1;
}
int rename(const char* from, const char* to) noexcept {
    return nextAction('m') > NONE ? -1 : renameat(AT_FDCWD, from, AT_FDCWD, to);
}
int remove(const char* path) noexcept {
    return nextAction('r') > NONE ? -1 : unlink(path);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* how, void* (*run)(void*), void* with) {
    static void* const next = dlsym(RTLD_NEXT, "pthread_create");
    if (nextAction('t') > NONE) return EAGAIN;
    return reinterpret_cast<decltype(&pthread_create)>(next)(thread, how, run, with);
}
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

/// Returns 1 if the fault is still to come, and 2 if memory is left.
int main(int, char** arguments) {
    (void)Extras::LoggingBuilder().start();  // Makes what the process keeps.
    arm();
    const int before = liveBlocks;
    carryOutCommands(arguments);
    if (liveBlocks != before) return 2;
    return letters == "n" ? allocationsLeft > 0 : calls <= first;
}
