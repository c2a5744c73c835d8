// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <system_error>
#include <vector>

namespace Korvel {

/// One pass over a staging directory, which the constructor opens. A directory that cannot be
/// opened counts as empty, and a failure during the pass ends it.
class StagingListing {
public:
    explicit StagingListing(const std::filesystem::path& directory);

    /// Returns everything whose name ends in the suffix of staging files, except `currentFile`, in
    /// file system order.
    std::vector<std::filesystem::path> filesBut(const std::filesystem::path& currentFile);

private:
    const std::filesystem::path& directory_;
    std::error_code error_;
    std::filesystem::directory_iterator entry_;
};

}  // namespace Korvel
