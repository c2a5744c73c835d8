#pragma once

#include "sinks/OutputFile.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Korvel {

/// The numbered names of one prefix in a directory.
class StagingNames {
public:
    StagingNames(const std::filesystem::path& directory, const std::wstring& prefix);

    /// The next name that is free on the disk; never the same twice. Throws `std::runtime_error`
    /// when all numbers are taken.
    std::filesystem::path nextFree();

private:
    const std::filesystem::path stem_;
    std::uint64_t counter_ = 0;
};

/// The current time as the prefix of a name.
std::wstring stagingPrefix();

/// The name of a staged file while it is in upload.
std::filesystem::path temporaryName(const std::filesystem::path& stagedPath);

struct StagingFile {
    std::filesystem::path path;
    std::unique_ptr<OutputFile> file;
};

/// Makes a new file in `directory`, by one of the two modes that create. Exclusive creation keeps
/// two callers apart that name a file in the same millisecond. If the file cannot be made for
/// another reason than a taken name, the result holds a failed OutputFile.
///
/// A name is not taken while its temporary name exists, or while `reserved`, which may be null,
/// holds it: the file of that name can be in upload, and would come back over the new one.
StagingFile createStagingFile(const std::filesystem::path& directory, OutputFile::Mode mode,
                              const std::vector<std::filesystem::path>* reserved);

}  // namespace Korvel
