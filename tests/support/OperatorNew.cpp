#include "support/OperatorNew.h"

#include <cstdlib>
#include <new>

std::atomic<int> liveBlocks = 0;
thread_local constinit int freedBlocks = 0;
thread_local constinit bool isOutOfMemory = false;

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    void* const block = isOutOfMemory ? nullptr : std::malloc(size);
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
