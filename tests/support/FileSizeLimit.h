// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <csignal>

/// Simulates a full disk during its lifetime: no file of this process can grow beyond `size` bytes.
/// POSIX only.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t size) : previous_(std::signal(SIGXFSZ, SIG_IGN)) {
        EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &before_), 0);
        const rlimit full = {size, before_.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &before_), 0);
        std::signal(SIGXFSZ, previous_);
    }

private:
    rlimit before_ = {};
    void (*const previous_)(int);
};
