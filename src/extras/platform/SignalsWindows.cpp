// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "extras/platform/Signals.h"

#include <atomic>
#include <system_error>
#include <utility>

#include <windows.h>

namespace Korvel::Extras {
namespace {

std::atomic<void (*)()> flushAll{nullptr};
std::atomic<bool> isFlushing{false};

/// Used only by the functions of the header.
bool isInstalled = false;

/// The system calls it on a new thread for each event, the last installed handler first, and the
/// next one after FALSE.
BOOL WINAPI onEvent(DWORD /*event*/) {
    if (!isFlushing.exchange(true)) {
        flushAll.load()();
        isFlushing = false;
    }
    return FALSE;
}

}  // namespace

void watchSignals(void (*flush)()) {
    flushAll = flush;
    if (isInstalled) return;
    if (SetConsoleCtrlHandler(&onEvent, TRUE) == 0) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                                "SetConsoleCtrlHandler");
    }
    isInstalled = true;
}

void unwatchSignals() noexcept {
    if (isInstalled) SetConsoleCtrlHandler(&onEvent, FALSE);
    // flushAll stays, for an event that has begun.
    isInstalled = false;
}

std::thread startThreadWithoutSignals(std::function<void()> run) {
    return std::thread(std::move(run));
}

long processId() noexcept {
    return static_cast<long>(GetCurrentProcessId());
}

}  // namespace Korvel::Extras
