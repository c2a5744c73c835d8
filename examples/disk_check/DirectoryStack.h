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
/// It knows by itself when a walk is over: a directory stays open from push until the walker that
/// popped it calls finish, and nothing can be pushed any more once none is open. For that, a walker
/// pushes what it finds in a directory before it finishes that directory.
///
/// Threads: every operation from any thread.
class DirectoryStack {
public:
    void push(std::filesystem::path directory);

    /// Waits for a directory. Empty when the walk is over or has been stopped.
    std::optional<std::filesystem::path> pop();

    /// Says that a directory from pop has been read.
    void finish();

    /// Ends the walk early: what is still on the stack is not handed out.
    void stop();

    /// Waits at most that long for the end of the walk; returns whether it is over.
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
