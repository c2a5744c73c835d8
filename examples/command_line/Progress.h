// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>

namespace CommandLine {

/// A line on standard error that is overwritten in place and erased at the end.
///
/// Threads: every operation from any thread.
class Progress {
public:
    /// Only a visible one writes anything.
    explicit Progress(bool isVisible);
    /// Clears the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `text` must be plain ASCII and shorter than a terminal is wide.
    void show(const std::string& text);

    /// Calls `write` with the line cleared and no new one shown meanwhile.
    void stepAside(const std::function<void()>& write);

private:
    void clear();

    const bool isVisible_;
    std::mutex mutex_;
    std::size_t width_ = 0;
};

}  // namespace CommandLine
