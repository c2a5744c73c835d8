// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>

// What differs between the platforms.

namespace Korvel::Extras {

/// What ends a line of a text file on disk.
extern const std::string_view LINE_END;

/// An open file to which this object only appends, unbuffered. Others may read, write, rename and
/// delete it meanwhile. Programs that this process starts do not inherit it.
class AppendedFile {
public:
    /// Opens `path`, and creates the file if there is none: on POSIX with exactly the permissions
    /// `mode` and, if allowed, the owner and group of `previous` (may be null). Returns null and
    /// sets `error` if that fails.
    static std::unique_ptr<AppendedFile> open(const std::filesystem::path& path,
                                              std::filesystem::perms mode,
                                              const AppendedFile* previous, std::error_code& error);
    AppendedFile(const AppendedFile&) = delete;
    AppendedFile& operator=(const AppendedFile&) = delete;
    ~AppendedFile();

    /// Writes `text` in one system call, unless the system accepts only part of it at a time.
    /// Returns how many bytes were written: fewer than all if it sets `error`.
    std::size_t write(std::string_view text, std::error_code& error);

    /// The size now; 0 of anything but a regular file.
    std::uint64_t size() const;

    /// Whether the file had, when it was opened, a last byte that is not a line feed or that this
    /// process may not read. False for anything but a regular file.
    bool beganTorn() const { return beganTorn_; }

    /// Whether `path`, or what a symbolic link there leads to, is this file.
    bool isAt(const std::filesystem::path& path) const;

    /// Waits until the file is on the storage device. Does nothing for anything but a regular file.
    std::error_code sync();

private:
    AppendedFile(std::intptr_t handle, const std::filesystem::path& path);

    const std::intptr_t handle_;  // A descriptor, or a HANDLE.
    bool beganTorn_ = false;
};

/// Renames a file and replaces what has the name `to`. On Windows, where a virus scanner or an
/// indexer can hold a file for a moment, it tries for 50 ms.
std::error_code renameFile(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace Korvel::Extras
