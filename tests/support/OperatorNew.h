// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

// For programs that link OperatorNew.cpp, which replaces operator new. On Windows a program cannot
// replace it for a DLL.

/// How many blocks are allocated, and how many this thread has freed. constinit, because g++ 12
/// reports its own access function of a thread_local as a null pointer under its sanitizer.
extern std::atomic<int> liveBlocks;
extern thread_local constinit int freedBlocks;
/// Makes every allocation of this thread fail.
extern thread_local constinit bool isOutOfMemory;
/// Makes one allocation of the process fail: the one that counts this down to 0.
extern std::atomic<std::int64_t> allocationsLeft;
