#include "upload/UploadRun.h"

#include <system_error>

namespace Korvel {
namespace {

using std::filesystem::path;

/// Gives a file its temporary name, and the old one back at the end if the file is still there.
/// A rename that fails is not reported: the file then keeps the name that it has.
class ScopedRename {
public:
    explicit ScopedRename(const path& stagedPath)
        : temporaryPath_(path(stagedPath) += ".tmp"), stagedPath_(stagedPath) {
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

void removeDelivered(const path& file) {
    std::error_code error;
    std::filesystem::remove(file, error);
    if (error) {
        throw std::filesystem::filesystem_error("remove(p): invalid argument", file, error);
    }
}

}  // namespace Korvel
