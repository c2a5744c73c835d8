// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Sink.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string_view>
#include <system_error>

namespace Korvel::Extras {

/// What a ReopeningFileSink does beyond writing lines. By default it only reopens.
struct ReopeningFileSinkOptions {
    /// Rotation by size: the bound of the file in bytes on disk; 0 means no rotation.
    std::uint64_t maxBytes = 0;
    /// How many rotated files are kept. 0 counts as 1: the sink never deletes the file that it has
    /// just filled. Files with higher numbers, left by a higher setting, stay.
    unsigned keptFiles = 5;
    /// The permissions of a file that the sink creates, regardless of the umask. The default is
    /// 0640. Ignored on Windows, where a file inherits the permissions of its directory.
    std::filesystem::perms mode = std::filesystem::perms::owner_read |
                                  std::filesystem::perms::owner_write |
                                  std::filesystem::perms::group_read;
    /// Whether to check at most once a second that the path still leads to the open file, and to
    /// reopen it otherwise: for a file that a rotator renames or deletes without a signal. Such a
    /// rotator should let the sink create the new file: `nocreate` of logrotate.
    bool checksPath = false;
    /// Calls fsync after this many entries; 0 means not to count.
    std::uint64_t syncEntries = 0;
    /// Calls fsync when an entry is written this long after the last fsync; 0 means not to measure.
    /// There is no timer: the last entries of a burst wait for the next entry or flush.
    std::chrono::milliseconds syncInterval{0};
    /// Called with the action that failed, "open", "rotate", "write" or "sync", and the error; at
    /// most once a second. Runs while the sink is locked, so it must not call the sink. Its
    /// exceptions are ignored. By default it prints a line on standard error.
    std::function<void(std::string_view action, const std::error_code& error)> onFailure;
    /// The clock of all times above, for tests; by default `std::chrono::steady_clock::now`.
    std::function<std::chrono::steady_clock::time_point()> clock;
};

/// What has happened to a ReopeningFileSink.
struct ReopeningFileSinkStatus {
    /// The entries that could not be written, since the sink was made.
    std::uint64_t dropped = 0;
    /// Whether the last write has failed, so that entries are being dropped.
    bool isDropping = false;
    /// The last failure of any kind. Stays after a recovery.
    std::error_code lastError;
};

/// Writes entries to a file as FileSink does, one compact JSON text a line (docs/json.md), and
/// copes with what happens to the log of a program that runs for months: rotation by others or by
/// itself, a full disk, a crash.
///
/// Each line is one write to the operating system, made before append returns, at the current end
/// of the file. On Windows each line feed is stored as CR LF.
///
/// Rotation by others, such as logrotate: they rename the file, then the program calls reopen. The
/// sink opens the path again, or creates the file, before it closes the old one. No entry is lost,
/// doubled or split. If the path cannot be opened, it goes on with the old file and tries again
/// once a second. A rotator must not copy and truncate (`copytruncate`): entries written between
/// the two are lost. docs/extras.md shows a configuration for logrotate and the signal handler.
///
/// Rotation by size: before an entry that would take the file above `maxBytes`, `app.jsonl` becomes
/// `app.jsonl.1`, which becomes `app.jsonl.2`, and so on; the oldest is replaced. So no file
/// exceeds the bound, except that an entry above it has a file of its own. If a rename fails, the
/// sink goes on in the same file, beyond the bound, and tries again once a second; no rotated file
/// is lost. The sink never truncates, and never drops an entry for its size. The path has to
/// be a regular file, not a symbolic link, and only one sink of one process may rotate it: two
/// rename each other's files, and a file can exceed the bound.
///
/// After a failed write, as on a full disk, the sink drops the entry and counts it. Once a second
/// it opens the path again, in case a deletion has made room, and tries to write; until then it
/// drops and counts further entries. When a write succeeds again, a line contains their number:
///
///     {"dropped":12,"message":"EntriesDropped","severity":"warning"}
///
/// Torn lines: a crash or a failed write can leave a part of a line at the end of the file, even
/// all of it except the line end. The next write starts on a new line, also in a new process.
///
/// Not promised: without the sync options a line survives a crash of the process but not of the
/// machine. They do not sync the directory. reopen takes effect with the next entry or flush: until
/// then, a quiet program keeps the old file and its space on the disk. Pipes and devices work but
/// are neither rotated nor synced.
///
/// Errors: the constructor throws `std::filesystem::filesystem_error` if the file cannot be opened.
/// append throws `std::range_error` "bad conversion" for text that Message::wstrToStr rejects, and
/// then writes nothing. No failure of the file throws after construction; see `onFailure` and
/// status.
///
/// Threads: every operation may be called from any thread; lines never interleave. reopen may also
/// be called from a signal handler.
class KORVEL_EXTRAS_API ReopeningFileSink : public Sink {
public:
    /// Opens `path`, and creates the file but no directories. Existing content is kept. A relative
    /// path is made absolute, so that a later change of the working directory does not matter.
    explicit ReopeningFileSink(const std::filesystem::path& path,
                               ReopeningFileSinkOptions options = {});
    /// Does what flush does. Not while a signal handler can still call reopen.
    ~ReopeningFileSink() override;

    /// Asks for the path to be opened again before the next write and in flush. Only sets a
    /// lock-free flag.
    void reopen() noexcept;

    /// Reopens the file if asked to, writes a missing notice of dropped entries, and, with a sync
    /// option, waits until all entries are on the storage device.
    void flush() override;

    /// Writes one entry, of any type.
    void append(const Message& message) override;

    /// Returns the state of the sink. Waits for a write in progress, which can take long on a pipe
    /// or a network file.
    ReopeningFileSinkStatus status();

private:
    class File;

    std::atomic<bool> isReopenRequested_{false};
    const std::unique_ptr<File> file_;
};

}  // namespace Korvel::Extras
