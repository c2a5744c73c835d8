// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Walk.h"

#include "ReadableText.h"

#include <system_error>

namespace DiskCheck {

Walk::Walk(Journal& journal, std::uint64_t limit) : journal_(journal), limit_(limit) {}

Walk::~Walk() {
    directories_.stop();
    joinThreads();
}

void Walk::start(const std::filesystem::path& root, std::uint64_t threads) {
    if (!readablePath(root).isExact) {
        journal_.writeProblem(root, L"The path is not valid text and is shown with escapes");
    }
    directories_.push(root);
    for (std::uint64_t count = 0; count < threads; ++count) {
        walkers_.emplace_back(&Walk::run, this);
    }
}

bool Walk::waitForEnd(std::chrono::milliseconds longest) {
    return directories_.waitForEnd(longest);
}

void Walk::join() {
    joinThreads();
    if (failure_ != nullptr) std::rethrow_exception(failure_);
}

bool Walk::hasReachedLimit() const {
    return hasReachedLimit_;
}

void Walk::run() noexcept {
    try {
        while (const auto directory = directories_.pop()) {
            readDirectory(*directory);
            directories_.finish();
        }
    } catch (...) {
        fail(std::current_exception());
    }
}

void Walk::readDirectory(const std::filesystem::path& directory) {
    std::error_code error;
    std::filesystem::directory_iterator entry(directory, error);
    const std::filesystem::directory_iterator end;
    while (!error && entry != end && isWithinLimit()) {
        visit(entry->path());
        entry.increment(error);
    }
    if (error) {
        journal_.writeProblem(directory, problemText(L"The directory cannot be read", error));
    }
}

void Walk::visit(const std::filesystem::path& path) {
    const FileFacts facts = inspect(path);
    journal_.writeFile(path, facts);
    if (facts.isDirectory()) directories_.push(path);
}

/// Counts one visit, so it must be called exactly once per visit.
bool Walk::isWithinLimit() {
    if (visits_.fetch_add(1) < limit_) return true;
    hasReachedLimit_ = true;
    directories_.stop();
    return false;
}

/// Keeps only the first failure: the others follow from it.
void Walk::fail(std::exception_ptr reason) noexcept {
    {
        const std::lock_guard<std::mutex> guard(failureMutex_);
        if (failure_ == nullptr) failure_ = std::move(reason);
    }
    directories_.stop();
}

void Walk::joinThreads() {
    for (auto& walker : walkers_) {
        if (walker.joinable()) walker.join();
    }
}

}  // namespace DiskCheck
