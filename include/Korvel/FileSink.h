#pragma once

#include <Korvel/Export.h>
#include <Korvel/Sink.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace Korvel {

class OutputFile;

/// Writes entries to one file, each as one JSON text and a line end: with compact JSON the file is
/// a sequence of JSON lines (docs/json.md).
///
/// Every line is one write to the operating system, made before append returns. The file is in text
/// mode: on Windows each line feed reaches the disk as CR LF. Other processes may read and write
/// the file meanwhile. A sink never reopens or rotates its file.
///
/// What is not promised. There is no fsync: the line is safe from a crash of the process, not of
/// the machine. A failure of the file is silent: if the file cannot be opened, or once a write has
/// failed (a full disk), the sink writes nothing more, its destructor included, and getSize says
/// so. The line that failed can stand in the file in part.
///
/// Errors: append throws `std::range_error` "bad conversion" for text that Message::wstrToStr
/// refuses, and writes nothing then. No operation throws for the file.
///
/// Threads: every operation from any thread; lines never interleave. Two sinks on one file are not
/// coordinated.
class KORVEL_API FileSink : public Sink {
public:
    /// Opens `path`; makes no directory. `truncate` empties an existing file at once, otherwise
    /// lines go to its end. `pretty` is the form of the JSON text. `sizeLimit` is the largest text
    /// in bytes, without the line end, that is written as it is; all ones means no limit.
    FileSink(const std::filesystem::path& path, bool truncate, bool pretty,
             std::uint64_t sizeLimit);
    ~FileSink() override;

    /// The same in a shared pointer. Never throws: empty if the sink cannot be built. A file that
    /// cannot be opened is no such case.
    static std::shared_ptr<FileSink> create(const std::filesystem::path& path, bool truncate,
                                            bool pretty, std::uint64_t sizeLimit) noexcept;

    void flush() override;

    /// Writes one entry, of any type. A text above the size limit is replaced by a notice, a Map of
    /// "message" with "Message to long" and "messageData" with the first 500 bytes of the text, cut
    /// back to a whole character; a stray byte in there becomes U+FFFD. The notice is written
    /// whatever its own size.
    void append(const Message& message) override;

    /// Writes `text` and a line end, with no limit and no rendering.
    void appendString(std::string text);

    /// The write position in bytes, as on disk. For a file that was not truncated it starts at the
    /// file's size. All ones if the file has failed, or is something without a position, like a
    /// pipe.
    std::uint64_t getSize();

private:
    friend class LogglySink;

    /// Writes to a file that is already open.
    FileSink(std::unique_ptr<OutputFile> stream, bool pretty, std::uint64_t sizeLimit);

    void write(std::string_view line);

    std::unique_ptr<OutputFile> stream_;
    const bool pretty_;
    const std::uint64_t sizeLimit_;
};

}  // namespace Korvel
