// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "DirectoryStack.h"

#include <utility>

namespace DiskCheck {

void DirectoryStack::push(std::filesystem::path directory) {
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        waiting_.push_back(std::move(directory));
        ++open_;
    }
    // Notifies all, because the thread that shows the progress also waits here and could swallow a
    // signal meant for a walker.
    changed_.notify_all();
}

std::optional<std::filesystem::path> DirectoryStack::pop() {
    std::unique_lock<std::mutex> guard(mutex_);
    changed_.wait(guard, [this] { return !waiting_.empty() || isOver(); });
    if (isOver()) return std::nullopt;
    std::optional<std::filesystem::path> directory = std::move(waiting_.back());
    waiting_.pop_back();
    return directory;
}

void DirectoryStack::finish() {
    const std::lock_guard<std::mutex> guard(mutex_);
    --open_;
    if (isOver()) changed_.notify_all();
}

void DirectoryStack::stop() {
    const std::lock_guard<std::mutex> guard(mutex_);
    isStopped_ = true;
    changed_.notify_all();
}

bool DirectoryStack::waitForEnd(std::chrono::milliseconds longest) {
    std::unique_lock<std::mutex> guard(mutex_);
    return changed_.wait_for(guard, longest, [this] { return isOver(); });
}

bool DirectoryStack::isOver() const {
    return isStopped_ || open_ == 0;
}

}  // namespace DiskCheck
