// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <vector>

namespace Korvel {

/// Offers one closed staging file to the callable under its temporary name, and deletes it if the
/// callable returns true. In all other cases, including exceptions, the file gets its name back.
void uploadStagedFile(const std::filesystem::path& stagedPath,
                      const std::function<bool(const std::filesystem::path&)>& uploadFile);

/// Moves the files named in `last` to the end of `files`, in the order of `last`, and removes from
/// `last` the names that are not in `files`.
void moveToEnd(std::vector<std::filesystem::path>& files, std::vector<std::filesystem::path>& last);

/// Deletes a delivered file. A missing file is not an error; a failure throws
/// `std::filesystem::filesystem_error`.
void removeDelivered(const std::filesystem::path& file);

}  // namespace Korvel
