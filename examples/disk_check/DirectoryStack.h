// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <mutex>
#include <optional>
#include <vector>

namespace DiskCheck {

/// The directories that are still to be read, shared by all walkers.
///
/// It detects the end of a walk: a directory is open from push until the walker that popped it
/// calls finish, and once none is open, nothing more can be pushed. A walker must therefore push
/// the subdirectories of a directory before it finishes that directory.
///
/// Threads: every operation may be called from any thread.
class DirectoryStack {
public:
    void push(std::filesystem::path directory);

    /// Waits for a directory. Returns nothing once the walk is over or has been stopped.
    std::optional<std::filesystem::path> pop();

    /// Marks a directory from pop as read.
    void finish();

    /// Ends the walk early: directories still on the stack are not returned.
    void stop();

    /// Waits for the end of the walk, at most for the given time. Returns whether it is over.
    bool waitForEnd(std::chrono::milliseconds longest);

private:
    bool isOver() const;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::filesystem::path> waiting_;
    std::size_t open_ = 0;
    bool isStopped_ = false;
};

}  // namespace DiskCheck
