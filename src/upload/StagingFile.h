// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "sinks/OutputFile.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Korvel {

/// The numbered file names of one prefix in a directory.
class StagingNames {
public:
    StagingNames(const std::filesystem::path& directory, const std::wstring& prefix);

    /// Returns the next name that is free on disk; never the same one twice. Throws
    /// `std::runtime_error` if all numbers are taken.
    std::filesystem::path nextFree();

private:
    const std::filesystem::path stem_;
    std::uint64_t counter_ = 0;
};

/// The current time as a file name prefix.
std::wstring stagingPrefix();

/// The name of a staged file while it is in upload.
std::filesystem::path temporaryName(const std::filesystem::path& stagedPath);

struct StagingFile {
    std::filesystem::path path;
    std::unique_ptr<OutputFile> file;
};

/// Creates a new file in `directory`; `mode` is CreateNew or CreatePrivate. Exclusive creation
/// separates callers that name a file in the same millisecond. If creation fails for a reason other
/// than a taken name, the result holds a failed OutputFile.
///
/// Skips a name while its temporary name exists or while `reserved`, which may be null, contains
/// it: the file of that name can be in upload, and renaming it back would replace the new one.
StagingFile createStagingFile(const std::filesystem::path& directory, OutputFile::Mode mode,
                              const std::vector<std::filesystem::path>* reserved);

}  // namespace Korvel
