// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace UploadCore {

/// The name that the file had before the upload run took it.
std::filesystem::path stagedName(const std::filesystem::path& file);

/// Moves the file into "rejected" next to it, where it replaces nothing, and returns its new path.
/// Throws `std::filesystem::filesystem_error`.
std::filesystem::path moveAside(const std::filesystem::path& file);

}  // namespace UploadCore
