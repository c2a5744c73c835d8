#pragma once

#include <filesystem>
#include <system_error>
#include <vector>

namespace Korvel {

/// One walk through a staging directory, which is opened by the constructor. A directory that
/// cannot be opened is empty, and a failure on the way ends the walk.
class StagingListing {
public:
    explicit StagingListing(const std::filesystem::path& directory);

    /// What the walk meets, but for `currentFile`, in the order of the file system: everything
    /// whose name ends in the suffix of staging files.
    std::vector<std::filesystem::path> filesBut(const std::filesystem::path& currentFile);

private:
    const std::filesystem::path& directory_;
    std::error_code error_;
    std::filesystem::directory_iterator entry_;
};

}  // namespace Korvel
