// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/SystemCalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

Fault fault;

static int nextAction(char letter) {
    if (fault.letters.find(letter) == std::string::npos) return Fault::NONE;
    const int call = fault.calls++;
    if (call < fault.first || call >= fault.last) return Fault::NONE;
    if (fault.action == Fault::KILL && letter != 'w') (void)std::raise(SIGKILL);
    errno = fault.action;
    return fault.action;
}

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {
int open(const char* path, int flags, ...) {
    if (nextAction('o') > Fault::NONE) return -1;
    return static_cast<int>(syscall(SYS_open, path, flags, 0640));
}
ssize_t write(int file, const void* bytes, std::size_t size) {
    const int now = nextAction('w');
    if (now > Fault::NONE) return -1;
    const ssize_t written =
        syscall(SYS_write, file, bytes, now == Fault::NONE ? size : (size + 1) / 2);
    if (now == Fault::KILL) (void)std::raise(SIGKILL);
    return written;
}
int close(int file) {
    const int now = nextAction('c');
    return syscall(SYS_close, file) == 0 && now <= Fault::NONE ? 0 : -1;
}
int rename(const char* from, const char* to) noexcept {
    return nextAction('m') > Fault::NONE ? -1 : renameat(AT_FDCWD, from, AT_FDCWD, to);
}
int remove(const char* path) noexcept {
    return nextAction('r') > Fault::NONE ? -1 : unlink(path);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* how, void* (*run)(void*), void* with) {
    static void* const next = dlsym(RTLD_NEXT, "pthread_create");
    if (nextAction('t') > Fault::NONE) return EAGAIN;
    return reinterpret_cast<decltype(&pthread_create)>(next)(thread, how, run, with);
}
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
