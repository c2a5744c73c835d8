#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace DiskCheck {

/// The available facts about one file-system entry.
struct FileFacts {
    /// `none` or `not_found` if there are only problems to report.
    std::filesystem::file_type type = std::filesystem::file_type::none;
    /// Only for regular files.
    std::optional<std::uint64_t> size;
    /// For everything except links: the standard library reports only the time of a link's target.
    std::optional<std::wstring> modified;
    /// One sentence each.
    std::vector<std::wstring> problems;

    bool isKnown() const;
    bool isDirectory() const;
};

/// Examines a path without following a link in its last component. File-system errors never throw:
/// they are recorded as problems in the facts.
FileFacts inspect(const std::filesystem::path& path);

/// Returns a sentence such as "The directory cannot be read: Permission denied".
std::wstring problemText(const std::wstring& what, const std::error_code& error);

}  // namespace DiskCheck
