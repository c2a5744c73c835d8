#pragma once

#include "DirectoryStack.h"
#include "Journal.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <mutex>
#include <thread>
#include <vector>

namespace DiskCheck {

/// Walks a directory tree with several threads and writes what is in it to a Journal. The root
/// itself is not part of what is found, and links are not followed.
///
/// Errors: what is wrong in the tree goes to the journal. An exception of the journal ends the walk
/// and comes out of join.
///
/// Threads: belongs to the thread that made it.
class Walk {
public:
    /// Stops after `limit` file-system entries. `journal` must outlive the walk.
    Walk(Journal& journal, std::uint64_t limit);
    /// Stops a walk that is not over.
    ~Walk();

    void start(const std::filesystem::path& root, std::uint64_t threads);

    /// Waits at most that long for the end; returns whether it has come, and join will not wait
    /// long.
    bool waitForEnd(std::chrono::milliseconds longest);

    void join();

    /// Whether something was left out because of the limit.
    bool hasReachedLimit() const;

private:
    void run() noexcept;
    void readDirectory(const std::filesystem::path& directory);
    void visit(const std::filesystem::path& path);
    bool isWithinLimit();
    void fail(std::exception_ptr reason) noexcept;
    void joinThreads();

    Journal& journal_;
    const std::uint64_t limit_;
    DirectoryStack directories_;
    std::vector<std::thread> walkers_;
    std::atomic<std::uint64_t> visits_ = 0;
    std::atomic<bool> hasReachedLimit_ = false;
    std::mutex failureMutex_;
    std::exception_ptr failure_;
};

}  // namespace DiskCheck
