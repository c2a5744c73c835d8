// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace DiskCheck {

/// What can be found out about one file-system entry.
struct FileFacts {
    /// `none` or `not_found` if only the problems are known.
    std::filesystem::file_type type = std::filesystem::file_type::none;
    /// Of a regular file only.
    std::optional<std::uint64_t> size;
    /// Of anything but a link: the standard library only gives the time of a link's target.
    std::optional<std::wstring> modified;
    /// One sentence each.
    std::vector<std::wstring> problems;

    bool isKnown() const;
    bool isDirectory() const;
};

/// Examines a path without following a link in its last place. Errors of the file system do not
/// throw: they become problems among the facts.
FileFacts inspect(const std::filesystem::path& path);

/// "The directory cannot be read: Permission denied".
std::wstring problemText(const std::wstring& what, const std::error_code& error);

}  // namespace DiskCheck
