// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "HttpUploader.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>

namespace UploadCore {

/// What to drain, and how patiently.
struct DrainSettings {
    /// For messages: the name of the program, and its option with the URL.
    std::string program;
    std::string urlOption;
    std::filesystem::path directory;
    std::uint64_t attempts = 8;
    std::chrono::milliseconds firstWait = std::chrono::seconds(1);
};

/// Uploads what is ready in the directory, in as many runs as it takes and `settings` allow, and
/// reports to the user. True if nothing is left, not even by an interrupted upload, and nothing was
/// rejected. Throws if the directory cannot be used.
bool drain(HttpUploader& uploader, const DrainSettings& settings);

}  // namespace UploadCore
