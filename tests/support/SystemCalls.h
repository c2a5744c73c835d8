// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <string>

// For programs on Linux that link SystemCalls.cpp. It replaces the functions of the system named
// below, and the libraries call these instead.

/// Which calls of o(pen), w(rite), c(lose), rena(m)e, r(emove) and p(t)hread_create fail: those
/// with one of the letters, counted from `first` up to `last`.
struct Fault {
    /// An action is an error number or one of these. SHORT and KILL write half of the bytes.
    enum Action { NONE = 0, SHORT = -1, KILL = -2 };

    std::string letters;
    int first = 0;
    int last = 0;
    int action = NONE;
    std::atomic<int> calls = 0;
};
extern Fault fault;
