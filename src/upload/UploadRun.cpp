// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "upload/UploadRun.h"

#include "upload/StagingFile.h"

#include <algorithm>
#include <system_error>
#include <unordered_map>

namespace Korvel {
namespace {

using std::filesystem::path;

/// Gives a file its temporary name, and on destruction its old name if the file still exists. A
/// failed rename is not reported: the file keeps its name.
class ScopedRename {
public:
    explicit ScopedRename(const path& stagedPath)
        : temporaryPath_(temporaryName(stagedPath)), stagedPath_(stagedPath) {
        std::error_code error;
        std::filesystem::rename(stagedPath_, temporaryPath_, error);
        moved_ = !error;
    }
    ScopedRename(const ScopedRename&) = delete;
    ScopedRename& operator=(const ScopedRename&) = delete;
    ~ScopedRename() {
        std::error_code ignored;
        if (moved_) std::filesystem::rename(temporaryPath_, stagedPath_, ignored);
    }

    const path& temporaryPath() const { return temporaryPath_; }

private:
    const path temporaryPath_;
    bool moved_ = false;
    const path stagedPath_;
};

}  // namespace

void uploadStagedFile(const path& stagedPath, const std::function<bool(const path&)>& uploadFile) {
    const ScopedRename rename(stagedPath);
    if (uploadFile(rename.temporaryPath())) removeDelivered(rename.temporaryPath());
}

void moveToEnd(std::vector<path>& files, std::vector<path>& last) {
    if (last.empty()) return;
    std::unordered_map<path::string_type, std::size_t> ranks;
    for (const path& file : last) ranks.emplace(file.native(), ranks.size());
    const auto firstLast = std::stable_partition(
        files.begin(), files.end(),
        [&ranks](const path& file) { return !ranks.contains(file.native()); });
    std::sort(firstLast, files.end(), [&ranks](const path& left, const path& right) {
        return ranks.at(left.native()) < ranks.at(right.native());
    });
    last.assign(firstLast, files.end());
}

void removeDelivered(const path& file) {
    std::error_code error;
    std::filesystem::remove(file, error);
    if (error) {
        throw std::filesystem::filesystem_error("remove(p): invalid argument", file, error);
    }
}

}  // namespace Korvel
