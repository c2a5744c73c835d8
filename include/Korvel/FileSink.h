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
/// Every line is one write to the operating system, made before append returns. It goes to the end
/// of the file, so others may read, write and truncate the file meanwhile (as copying log rotators
/// do). The file is in text mode: on Windows each line feed reaches the disk as CR LF. A sink never
/// reopens or rotates its file.
///
/// What is not promised. There is no fsync: the line survives a crash of the process, but not one
/// of the machine. A failure of the file is silent: if the file cannot be opened, or once a write
/// has failed (a full disk), the sink writes nothing more, its destructor included, and getSize
/// returns all ones. A part of the line that failed can remain in the file.
///
/// Errors: append throws `std::range_error` "bad conversion" for text that Message::wstrToStr
/// refuses, and writes nothing then. No operation throws for the file.
///
/// Threads: every operation from any thread; lines never interleave. Two sinks on one file are not
/// coordinated: on POSIX their lines alternate whole, as long as the system takes each in one
/// piece.
class KORVEL_API FileSink : public Sink {
public:
    /// Opens `path`; makes no directory. `truncate` empties an existing file at once, otherwise its
    /// content stays. `pretty` is the form of the JSON text. `sizeLimit` is the largest text in
    /// bytes, without the line end, that is written as it is; all ones means no limit.
    FileSink(const std::filesystem::path& path, bool truncate, bool pretty,
             std::uint64_t sizeLimit);
    ~FileSink() override;

    /// The same in a shared pointer, which is empty if memory runs out. Never throws. A file that
    /// cannot be opened still gives a sink.
    static std::shared_ptr<FileSink> create(const std::filesystem::path& path, bool truncate,
                                            bool pretty, std::uint64_t sizeLimit) noexcept;

    void flush() override;

    /// Writes one entry, of any type. A text above the size limit is replaced by a notice: a Map
    /// with "Message to long" at "message", and at "messageData" the first 500 bytes of the text,
    /// cut back to a whole character. A stray byte in there becomes U+FFFD. The notice is written
    /// whatever its own size.
    void append(const Message& message) override;

    /// Writes `text` and a line end, with no limit and no rendering.
    void appendString(std::string text);

    /// Where the next line goes, in bytes from the start of the file as on disk. The system is
    /// asked on each call, so what others have written or cut off counts. All ones if the file has
    /// failed, or has no position, like a pipe.
    std::uint64_t getSize();

private:
    friend class LogglySink;

    /// Writes to a file that is already open.
    FileSink(std::unique_ptr<OutputFile> file, bool pretty, std::uint64_t sizeLimit);

    void write(std::string_view line);

    std::unique_ptr<OutputFile> file_;
    const bool pretty_;
    const std::uint64_t sizeLimit_;
};

}  // namespace Korvel
