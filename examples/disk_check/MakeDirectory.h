// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace DiskCheck {

/// Creates a directory and its parents if they are missing. Throws `std::runtime_error` with a
/// sentence for the user.
void makeDirectory(const std::filesystem::path& directory);

}  // namespace DiskCheck
