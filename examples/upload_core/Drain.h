// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "HttpUploader.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>

namespace UploadCore {

/// The directory to drain, and how often to try.
struct DrainSettings {
    /// For messages: the name of the program, and its option with the URL.
    std::string program;
    std::string urlOption;
    std::filesystem::path directory;
    std::uint64_t attempts = 8;
    std::chrono::milliseconds firstWait = std::chrono::seconds(1);
};

/// Uploads the files that are ready in the directory, in as many runs as necessary and allowed by
/// `settings`, and reports to the user. Returns true if nothing is left, not even by an interrupted
/// upload, and nothing was rejected. Throws if the directory cannot be used.
bool drain(HttpUploader& uploader, const DrainSettings& settings);

}  // namespace UploadCore
