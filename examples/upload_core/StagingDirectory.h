// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/LogglySink.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace UploadCore {

/// The names in `directory` that end in `ending`, in order. Throws
/// `std::filesystem::filesystem_error` if the directory cannot be read.
std::vector<std::filesystem::path> namesEndingIn(const std::filesystem::path& directory,
                                                 const std::string& ending);

/// The current file of `sink`: the one in its directory that getLogFiles leaves out. Throws
/// `std::runtime_error` with a sentence for the user if the sink could not create one. No other
/// sink may use the directory.
std::filesystem::path currentFileOf(Korvel::LogglySink& sink,
                                    const std::filesystem::path& directory);

/// Destroys a sink of which this is the last owner, and deletes its current file if nothing was
/// written to it. Otherwise every sink would leave an empty file for the next one.
void endSink(std::shared_ptr<Korvel::LogglySink> sink, const std::filesystem::path& directory);

}  // namespace UploadCore
