// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace Korvel {

/// An unbuffered output file: what the system has refused is never retried, not even on
/// destruction. Together with createPrivateDirectory it makes all direct operating system calls of
/// the library.
///
/// Every write appends to the current end of the file, on POSIX atomically. The file is in text
/// mode: on Windows each line feed is stored as CR LF. Other handles and processes may use the file
/// meanwhile; programs that this process starts do not inherit it.
///
/// Failures are silent. Once the file could not be opened or a write has failed, every further
/// write does nothing.
class OutputFile {
public:
    /// The last two refuse a name that is taken, even by a dangling link. On POSIX only its owner
    /// can access a private file; the umask applies to the others.
    enum class Mode { Truncate, Append, CreateNew, CreatePrivate };

    OutputFile(const std::filesystem::path& path, Mode mode);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// Writes `text` in one system call, unless the system accepts only part of it at a time.
    void write(std::string_view text);

    /// The position of the next write in bytes from the start of the file, as reported by the
    /// system; all ones if the file has failed or has no position.
    std::uint64_t position() const;

    /// The number of bytes on disk that this object has written; all ones if the file has failed.
    std::uint64_t bytesWritten() const;

    /// Whether the file was opened but the system accepted not even the first byte.
    bool firstWriteFailed() const;

    /// Whether creation has failed because the name was taken.
    bool wasTaken() const;

private:
    int descriptor_;
    bool hasFailed_;
    bool wasTaken_;
    std::uint64_t bytesWritten_ = 0;
};

/// Creates one directory, on POSIX for its owner only. An existing directory is accepted unless
/// somebody else controls its content: on POSIX a link, a directory of another user, or one that
/// group or others can write to sets `error`, as does any other failure.
void createPrivateDirectory(const std::filesystem::path& directory, std::error_code& error);

}  // namespace Korvel
