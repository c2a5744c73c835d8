// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
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

/// Walks a directory tree with several threads and writes its entries to a Journal. The root itself
/// is not included, and links are not followed.
///
/// Errors: problems in the tree go to the journal. An exception from the journal ends the walk, and
/// join rethrows it.
///
/// Threads: may be used only by the thread that created it.
class Walk {
public:
    /// Stops after `limit` file-system entries. `journal` must outlive the walk.
    Walk(Journal& journal, std::uint64_t limit);
    /// Stops a walk that is not over.
    ~Walk();

    void start(const std::filesystem::path& root, std::uint64_t threads);

    /// Waits for the end, at most for the given time. Returns whether the walk is over; join then
    /// returns soon.
    bool waitForEnd(std::chrono::milliseconds longest);

    void join();

    /// Whether anything was left out because of the limit.
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
