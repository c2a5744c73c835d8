#pragma once

#include <atomic>

// For programs that link OperatorNew.cpp, which replaces operator new. On Windows a program cannot
// replace it for a DLL.

/// How many blocks are allocated, and how many this thread has freed.
extern std::atomic<int> liveBlocks;
extern thread_local int freedBlocks;
/// Makes every allocation of this thread fail.
extern thread_local bool isOutOfMemory;
