// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
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

/// Writes entries to one file, each as one JSON text and a line end. With compact JSON the file is
/// a sequence of JSON lines (docs/json.md).
///
/// Each line is one write to the operating system, made before append returns. Writes append to the
/// file, so others may read, write and truncate it meanwhile, as copying log rotators do. The file
/// is in text mode: on Windows each line feed is stored as CR LF. A sink never reopens or rotates
/// its file.
///
/// Not promised: there is no fsync, so a line survives a crash of the process but not of the
/// machine. File failures are silent: if the file cannot be opened, or once a write has failed (as
/// on a full disk), the sink writes nothing more, not even in its destructor, and getSize returns
/// all ones. Part of the failed line can remain in the file.
///
/// Errors: append throws `std::range_error` "bad conversion" for text that Message::wstrToStr
/// rejects, and then writes nothing. File failures never throw.
///
/// Threads: every operation may be called from any thread; lines never interleave. Two sinks on one
/// file are not coordinated: on POSIX their lines stay intact as long as the system accepts each in
/// a single write.
class KORVEL_API FileSink : public Sink {
public:
    /// Opens `path`; does not create directories. `truncate` empties an existing file immediately;
    /// otherwise its content is kept. `pretty` selects pretty JSON. `sizeLimit` is the size in
    /// bytes, without the line end, of the largest text that is written unchanged; all ones means
    /// no limit.
    FileSink(const std::filesystem::path& path, bool truncate, bool pretty,
             std::uint64_t sizeLimit);
    ~FileSink() override;

    /// Creates a sink in a shared pointer, which is null if memory runs out. Never throws. Returns
    /// a sink even if the file cannot be opened.
    static std::shared_ptr<FileSink> create(const std::filesystem::path& path, bool truncate,
                                            bool pretty, std::uint64_t sizeLimit) noexcept;

    void flush() override;

    /// Writes one entry, of any type. A text above the size limit is replaced by a notice: a Map
    /// with "Message to long" (this wording is part of the format) at "message", and the first 500
    /// bytes of the text, cut back to a complete character, at "messageData". A stray byte in them
    /// becomes U+FFFD. The notice is written regardless of its own size.
    void append(const Message& message) override;

    /// Writes `text` and a line end, without rendering or a size limit.
    void appendString(std::string text);

    /// Returns the position of the next line, in bytes on disk from the start of the file. Each
    /// call asks the system, so writes and truncation by others count. Returns all ones if the file
    /// has failed or has no position, like a pipe.
    std::uint64_t getSize();

private:
    friend class LogglySink;

    /// Writes to `file`, which is already open.
    FileSink(std::unique_ptr<OutputFile> file, bool pretty, std::uint64_t sizeLimit);

    void write(std::string_view line);

    std::unique_ptr<OutputFile> file_;
    const bool pretty_;
    const std::uint64_t sizeLimit_;
};

}  // namespace Korvel
