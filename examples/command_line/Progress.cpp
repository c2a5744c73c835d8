// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "command_line/Progress.h"

#include <iostream>

namespace CommandLine {

Progress::Progress(bool isVisible) : isVisible_(isVisible) {}

Progress::~Progress() {
    clear();
}

void Progress::show(const std::string& text) {
    if (!isVisible_) return;
    const std::lock_guard<std::mutex> guard(mutex_);
    clear();
    std::cerr << text << std::flush;
    width_ = text.size();
}

void Progress::stepAside(const std::function<void()>& write) {
    const std::lock_guard<std::mutex> guard(mutex_);
    clear();
    write();
}

/// Uses spaces, because not every terminal supports the escape sequence.
void Progress::clear() {
    if (width_ == 0) return;
    std::cerr << '\r' << std::string(width_, ' ') << '\r' << std::flush;
    width_ = 0;
}

}  // namespace CommandLine
