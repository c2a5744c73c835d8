#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace Korvel {

/// A file that is written without a buffer of our own: what the system has refused is never tried
/// again, not even at the end. The library's one seam to the platform.
///
/// Text mode: on Windows each line feed goes to the disk as CR LF. Other handles and processes may
/// use the file meanwhile; programs that this process starts do not inherit it.
///
/// Failures are silent. A file that could not be opened, or to which a write has failed, has failed
/// for good, and every further write does nothing.
class OutputFile {
public:
    enum class Mode { Truncate, Append };

    OutputFile(const std::filesystem::path& path, Mode mode);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// One write to the system, unless it takes the text in pieces.
    void write(std::string text);

    /// The write position in bytes from the start of the file, asked of the system; all ones if the
    /// file has failed or has no position.
    std::uint64_t position() const;

private:
    int descriptor_;
    bool hasFailed_;
};

}  // namespace Korvel
