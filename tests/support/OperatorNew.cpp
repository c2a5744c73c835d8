// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/OperatorNew.h"

#include <cstdlib>
#include <limits>
#include <new>

std::atomic<int> liveBlocks = 0;
thread_local constinit int freedBlocks = 0;
thread_local constinit bool isOutOfMemory = false;
std::atomic<std::int64_t> allocationsLeft = std::numeric_limits<std::int64_t>::max();

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    const bool isRefused = isOutOfMemory || --allocationsLeft == 0;
    void* const block = isRefused ? nullptr : std::malloc(size);
    if (block != nullptr) ++liveBlocks;
    return block;
}

void* operator new(std::size_t size) {
    void* const block = operator new(size, std::nothrow);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void operator delete(void* block) noexcept {
    if (block == nullptr) return;
    --liveBlocks;
    ++freedBlocks;
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}
