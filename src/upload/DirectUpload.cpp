// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/LogglySink.h>

#include "upload/StagingFile.h"
#include "upload/UploadRun.h"

#include <limits>
#include <system_error>

namespace Korvel {
namespace {

using std::filesystem::path;

constexpr std::uint64_t NO_LIMIT = (std::numeric_limits<std::uint64_t>::max)();

path directUploadDirectory() {
    std::error_code error;
    const path temporary = std::filesystem::temp_directory_path(error);
    if (error) {
        throw std::filesystem::filesystem_error("temp_directory_path(): can't find temp directory",
                                                temporary, error);
    }
    path directory = temporary / "directUpload";
    createPrivateDirectory(directory, error);
    if (error) {
        throw std::filesystem::filesystem_error("create_directories(p): invalid argument",
                                                directory, error);
    }
    return directory;
}

}  // namespace

void LogglySink::directUploadLogEntry(const Message& message,
                                      std::function<bool(const path&)> uploadFile) {
    StagingFile staging =
        createStagingFile(directUploadDirectory(), OutputFile::Mode::CreatePrivate, nullptr);
    // The file is closed at the end of the statement, before the callable receives it.
    FileSink(std::move(staging.file), false, NO_LIMIT).append(message);
    if (uploadFile(staging.path)) removeDelivered(staging.path);
}

}  // namespace Korvel
