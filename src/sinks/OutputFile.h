#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace Korvel {

/// A file that is written without a buffer of our own: what the system has refused is never tried
/// again, not even at the end. With createPrivateDirectory it is the library's one seam to the
/// platform.
///
/// Every write goes to the end of the file, wherever others have moved it; on POSIX atomically.
/// Text mode: on Windows each line feed goes to the disk as CR LF. Other handles and processes may
/// use the file meanwhile; programs that this process starts do not inherit it.
///
/// Failures are silent. A file that could not be opened, or to which a write has failed, has failed
/// for good, and every further write does nothing.
class OutputFile {
public:
    /// The last two refuse a name that is taken, even by a dangling link. On POSIX a private file
    /// is for its owner alone; the umask decides about the others.
    enum class Mode { Truncate, Append, CreateNew, CreatePrivate };

    OutputFile(const std::filesystem::path& path, Mode mode);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// One write to the system, unless it takes the text in pieces.
    void write(std::string_view text);

    /// Where the next write goes, in bytes from the start of the file, asked of the system; all
    /// ones if the file has failed or has no position.
    std::uint64_t position() const;

    /// The bytes that went to the disk through this object, counted here; all ones if the file has
    /// failed.
    std::uint64_t bytesWritten() const;

    /// Whether the file was opened, and then the system refused the first byte.
    bool firstWriteFailed() const;

    /// Whether creation has failed because the name was taken.
    bool wasTaken() const;

private:
    int descriptor_;
    bool hasFailed_;
    bool wasTaken_;
    std::uint64_t bytesWritten_ = 0;
};

/// Makes one directory, on POSIX for its owner alone. A directory that exists is fine, unless
/// somebody else can decide what is in it: on POSIX a link, a directory of another user and one
/// that group or others can write to set `error`, as any other failure does.
void createPrivateDirectory(const std::filesystem::path& directory, std::error_code& error);

}  // namespace Korvel
