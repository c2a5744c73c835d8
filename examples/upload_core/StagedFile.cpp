// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "StagedFile.h"

#include <string>
#include <system_error>

namespace UploadCore {

using std::filesystem::path;

namespace {

/// A hard link never replaces a file, unlike a rename, which is the fallback for file systems
/// without links.
void moveWithoutReplacing(const path& from, const path& to, std::error_code& error) {
    std::filesystem::create_hard_link(from, to, error);
    if (!error) {
        std::filesystem::remove(from, error);
    } else if (error != std::errc::file_exists) {
        std::error_code ignored;
        const bool isTaken = std::filesystem::exists(std::filesystem::symlink_status(to, ignored));
        error = std::make_error_code(std::errc::file_exists);
        if (!isTaken) std::filesystem::rename(from, to, error);
    }
}

}  // namespace

path stagedName(const path& file) {
    path name = file.filename();
    if (name.extension() == ".tmp") name.replace_extension();
    return name;
}

path moveAside(const path& file) {
    const path directory = file.parent_path() / "rejected";
    std::filesystem::create_directories(directory);
    const path name = stagedName(file);
    path target = directory / name;
    std::error_code error;
    moveWithoutReplacing(file, target, error);
    for (int number = 1; error == std::errc::file_exists; ++number) {
        target = directory / name.stem();
        target += '-' + std::to_string(number);
        target += name.extension();
        moveWithoutReplacing(file, target, error);
    }
    if (error) throw std::filesystem::filesystem_error("cannot be moved away", target, error);
    return target;
}

}  // namespace UploadCore
