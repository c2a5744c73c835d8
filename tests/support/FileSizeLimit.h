#pragma once

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <csignal>

/// Plays a full disk while it lives: no file of this process grows beyond `size` bytes. POSIX only.
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
