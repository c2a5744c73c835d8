// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "extras/platform/Signals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <memory>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace Korvel::Extras {
namespace {

struct WatchedSignal {
    int number;
    /// What was installed before. Written only while the handler is not installed.
    struct sigaction previous;
};

// Used by the handler. It may still run on another thread after unwatchSignals, so the pipe stays
// open.

std::array<WatchedSignal, 2> watchedSignals = {{{SIGTERM, {}}, {SIGINT, {}}}};
std::atomic<pid_t> owner{0};
std::atomic<int> writeEnd{-1};
/// 0, or the signal for which a flush runs, or minus the signal that was sent again after its
/// flush, or UNWATCHED.
std::atomic<int> pending{0};
constexpr int UNWATCHED = INT_MIN;
siginfo_t pendingInfo;

// Used only by the functions of the header and the watcher.

int readEnd = -1;
void (*flushAll)() = nullptr;
/// Not an object: in a process made by fork, the thread does not exist and can only be forgotten.
std::thread* watcher = nullptr;

const struct sigaction& previousOf(int number) {
    return watchedSignals[number == SIGTERM ? 0 : 1].previous;
}

// Whatever the flags say, like the system.

bool isDefault(const struct sigaction& action) {
    return action.sa_handler == SIG_DFL;
}

bool isIgnored(const struct sigaction& action) {
    return action.sa_handler == SIG_IGN;
}

/// Async-signal-safe, like everything that the handler calls.
[[noreturn]] void endBySignal(int number) {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(number, &action, nullptr);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, number);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    raise(number);
    // Only process 1 of a container is still here.
    _exit(128 + number);
}

void passOn(int number, siginfo_t* info, void* context) {
    const struct sigaction& previous = previousOf(number);
    if (isDefault(previous)) endBySignal(number);
    if ((previous.sa_flags & SA_SIGINFO) != 0) {
        previous.sa_sigaction(number, info, context);
    } else {
        previous.sa_handler(number);
    }
}

void onSignal(int number, siginfo_t* info, void* context) {
    const int keptErrno = errno;
    int idle = 0;
    if (owner == getpid() && pending.compare_exchange_strong(idle, number)) {
        pendingInfo = *info;
        const auto byte = static_cast<unsigned char>(number);
        if (write(writeEnd, &byte, 1) != 1) {
            // The application has closed the pipe.
            pending = 0;
            passOn(number, info, context);
        }
    } else if (pending == -number) {
        siginfo_t original = pendingInfo;
        pending = 0;
        passOn(number, &original, context);
    } else {
        passOn(number, info, context);
    }
    errno = keptErrno;
}

bool isOurs(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == &onSignal;
}

/// The application's own handler runs in the thread that the system chooses, so that it interrupts
/// the call in which that thread waits for the signal.
///
/// Ends after the byte 0 and, if a handler has begun before unwatchSignals, the byte of its signal.
void watch() {
    bool isEnding = false;
    unsigned char number = 0;
    while (!(isEnding && pending <= 0) && read(readEnd, &number, 1) == 1) {
        if (number == 0) {
            isEnding = true;
            continue;
        }
        flushAll();
        if (isDefault(previousOf(number))) endBySignal(number);
        pending = -number;
        kill(getpid(), number);
    }
}

void openPipe() {
    std::array<int, 2> ends = {-1, -1};
    if (pipe(ends.data()) != 0) throw std::system_error(errno, std::system_category(), "pipe");
    for (const int end : ends) fcntl(end, F_SETFD, FD_CLOEXEC);
    readEnd = ends[0];
    writeEnd = ends[1];
}

void installHandler(WatchedSignal& watched) {
    struct sigaction current = {};
    sigaction(watched.number, nullptr, &current);
    // Ours if this process was made by fork.
    if (isIgnored(current) || isOurs(current)) return;
    watched.previous = current;
    struct sigaction action = current;
    action.sa_sigaction = &onSignal;
    action.sa_flags =
        SA_SIGINFO |
        (isDefault(current) ? SA_RESTART : current.sa_flags & (SA_RESTART | SA_ONSTACK));
    sigaction(watched.number, &action, nullptr);
}

void removeHandler(const WatchedSignal& watched) noexcept {
    struct sigaction current = {};
    sigaction(watched.number, nullptr, &current);
    if (isOurs(current)) sigaction(watched.number, &watched.previous, nullptr);
}

}  // namespace

void watchSignals(void (*flush)()) {
    const bool isFork = owner != getpid();
    if (!isFork && watcher != nullptr) return;
    if (isFork) {
        // The old pipe, if any, wakes the parent process. It is left open for its handlers.
        openPipe();
    }
    pending = 0;
    flushAll = flush;
    watcher = std::make_unique<std::thread>(startThreadWithoutSignals(&watch)).release();
    owner = getpid();
    for (WatchedSignal& watched : watchedSignals) installHandler(watched);
}

void unwatchSignals() noexcept {
    if (owner != getpid() || watcher == nullptr) return;
    for (const WatchedSignal& watched : watchedSignals) removeHandler(watched);
    // A handler that begins now passes its signal on.
    int idle = 0;
    pending.compare_exchange_strong(idle, UNWATCHED);
    const unsigned char end = 0;
    if (write(writeEnd, &end, 1) == 1) {
        watcher->join();
        delete watcher;
    }
    watcher = nullptr;
}

std::thread startThreadWithoutSignals(std::function<void()> run) {
    sigset_t all;
    sigset_t kept;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &kept);
    // Restores the mask on every way out.
    const auto restore = [](const sigset_t* mask) { pthread_sigmask(SIG_SETMASK, mask, nullptr); };
    const std::unique_ptr<const sigset_t, decltype(restore)> restorer(&kept, restore);
    return std::thread(std::move(run));
}

long processId() noexcept {
    return getpid();
}

}  // namespace Korvel::Extras
