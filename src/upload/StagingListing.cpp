// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "upload/StagingListing.h"

#include <Korvel/LogglySink.h>

namespace Korvel {
namespace {

using std::filesystem::path;

/// Checks the name from its last dot on: here ".log" has the extension ".log".
bool hasStagingSuffix(const path& file) {
    const path name = file.filename();
    const auto dot = name.native().rfind(path::value_type('.'));
    if (dot == path::string_type::npos) return false;
    return name.native().substr(dot + 1) == LogglySink::SUFFIX.native();
}

}  // namespace

// An empty path means the current directory, but cannot be opened as such.
StagingListing::StagingListing(const path& directory)
    : directory_(directory), entry_(directory.empty() ? path(".") : directory, error_) {}

std::vector<path> StagingListing::filesBut(const path& currentFile) {
    std::vector<path> files;
    for (; !error_ && entry_ != std::filesystem::directory_iterator(); entry_.increment(error_)) {
        path file = directory_ / entry_->path().filename();
        // Compares the text: both paths are the directory joined with a name.
        if (file.native() == currentFile.native() || !hasStagingSuffix(file)) continue;
        files.push_back(std::move(file));
    }
    return files;
}

}  // namespace Korvel
