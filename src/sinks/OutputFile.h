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
/// Text mode: on Windows each line feed goes to the disk as CR LF. Other handles and processes may
/// use the file meanwhile; programs that this process starts do not inherit it.
///
/// Failures are silent. A file that could not be opened, or to which a write has failed, has failed
/// for good, and every further write does nothing.
class OutputFile {
public:
    /// CreateNew refuses a name at which anything stands, a dangling link included.
    enum class Mode { Truncate, Append, CreateNew };

    OutputFile(const std::filesystem::path& path, Mode mode);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// One write to the system, unless it takes the text in pieces.
    void write(std::string_view text);

    /// The write position in bytes from the start of the file, asked of the system; all ones if the
    /// file has failed or has no position.
    std::uint64_t position() const;

    /// Whether CreateNew has failed because the name was taken.
    bool wasTaken() const;

private:
    int descriptor_;
    bool hasFailed_;
    bool wasTaken_;
};

/// Makes one directory, on POSIX for its owner alone. A directory that is there already is fine;
/// anything else sets `error`.
void createPrivateDirectory(const std::filesystem::path& directory, std::error_code& error);

}  // namespace Korvel
