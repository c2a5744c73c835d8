#pragma once

#include "sinks/OutputFile.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace Korvel {

/// The numbered names of one prefix in a directory.
class StagingNames {
public:
    StagingNames(const std::filesystem::path& directory, const std::wstring& prefix);

    /// The first name, behind those that earlier calls have given, at which nothing stands. Throws
    /// `std::runtime_error` when all numbers are taken.
    std::filesystem::path nextFree();

private:
    const std::filesystem::path stem_;
    std::uint64_t counter_ = 0;
};

/// The current time as the prefix of a name.
std::wstring stagingPrefix();

struct StagingFile {
    std::filesystem::path path;
    std::unique_ptr<OutputFile> file;
};

/// Makes a new file in `directory`. Creation is exclusive, which is what keeps two callers apart
/// that name a file in the same millisecond. If the file cannot be made for another reason than a
/// taken name, the result holds a failed OutputFile.
StagingFile createStagingFile(const std::filesystem::path& directory);

}  // namespace Korvel
