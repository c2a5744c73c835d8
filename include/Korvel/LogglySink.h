// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Export.h>
#include <Korvel/FileSink.h>
#include <Korvel/Sink.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Korvel {

/// Stages entries for a log service in the files of one directory and, on request, passes the
/// closed files to an upload callable of the application. The library itself has no network code.
///
/// Staging: entries are written to the current file as JSON lines. Once a file has reached
/// MAX_FILE_SIZE, the next entry starts a new one. An entry is never split between files, and a
/// file exceeds the limit by less than one entry. An entry above MAX_ENTRY_SIZE is replaced by the
/// notice of FileSink. Every line has left the process when append returns. docs/staging.md
/// describes the names and states of the files.
///
/// Upload: nothing is uploaded unless the application requests it. uploadTemporaryFiles starts a
/// run on a separate thread, which offers each closed file once to the callable, with ".tmp"
/// appended to its name. If the callable returns true, the file is deleted; otherwise it gets its
/// name back and is offered by a later run. A run offers all `.log` files of the directory,
/// including those of earlier processes, but never the current one: call useNewFile first to send
/// everything.
///
/// The upload callable receives the path of a closed file. It may take any amount of time, delete
/// the file itself, or throw. The library holds no lock during the call. The callable may call
/// setUploadFile, useNewFile, append and flush, but must not call waitForUpload or destroy the
/// sink.
///
/// A run ends early if the callable throws or a delivered file cannot be deleted. Later runs of
/// this sink offer that file after all others, so it does not hold them up.
///
/// Not promised: delivery is at least once, because a file whose deletion fails is offered again. A
/// process that ends during an upload leaves a `.log.tmp` file, delivered or not, which no run
/// offers again. The directory has no size limit. A file that cannot be opened or written fails
/// silently: its entries are dropped, and every further append tries one new file, so staging
/// recovers by itself. If not even the first write to a file succeeded, the sink removes it when it
/// starts the next. One directory serves one sink: several sinks never overwrite each other's
/// files, but a run of one also takes the current file of another, which then loses later entries.
/// Errors of a run are not reported; only the remaining files show them.
///
/// Errors: `std::runtime_error` "LogglySink constructor could not create a new file." from any
/// operation that starts a file, if all numbers of a name are taken. append also throws what
/// FileSink::append throws.
///
/// Threads: append, flush, useNewFile, getLogFiles and setUploadFile may be called from any thread;
/// uploadTemporaryFiles, uploadRunning and waitForUpload from one thread at a time.
///
/// Ownership: the destructor waits until a running upload has processed its entire list, then
/// closes the current file, which a later sink on the directory offers like any other.
class KORVEL_API LogglySink : public Sink {
public:
    /// The extension of staging files without the dot: "log". Usable during static initialisation
    /// of other files.
    static const std::filesystem::path SUFFIX;

    /// The size at which a file is full, in bytes: 4 MiB.
    static constexpr std::uint64_t MAX_FILE_SIZE = 0x400000;
    /// The size of the largest entry that is written unchanged, in bytes: 1 MiB.
    static constexpr std::uint64_t MAX_ENTRY_SIZE = 0x100000;

    /// Returns a name for a new file in `directory`, based on the current time. The name is free at
    /// the time of the call; no file is created. Throws the `std::runtime_error` of the class.
    static std::filesystem::path getNewFileName(const std::filesystem::path& directory);

    /// Returns the first free name of `prefix`_0.log, `prefix`_1.log and so on. A name whose status
    /// cannot be determined counts as free. A dot in `prefix` has no special meaning.
    static std::filesystem::path findFreeFileName(const std::filesystem::path& directory,
                                                  const std::wstring& prefix);

    /// Writes `message` unchanged to a separate file in the directory "directUpload" of the
    /// system's temporary directory, and calls `uploadFile` with its path on this thread. If that
    /// returns true, the file is deleted. Otherwise it remains, and no run ever offers it: the
    /// application must clean it up. There is no size limit.
    ///
    /// On POSIX the directory and its files are created for the owner only. A "directUpload" that
    /// is a link, belongs to another user, or is writable by group or others is refused.
    ///
    /// Errors: `std::filesystem::filesystem_error` if there is no temporary directory, if the
    /// directory cannot be created or is refused, or if the file cannot be deleted;
    /// `std::bad_function_call` if the callable is empty; exceptions from rendering and from the
    /// callable. A file that cannot be opened is not an error: the callable then receives a path
    /// without a file.
    ///
    /// Threads: may be called from any thread, also concurrently. Every call uses a separate file,
    /// also across processes.
    static void directUploadLogEntry(const Message& message,
                                     std::function<bool(const std::filesystem::path&)> uploadFile);

    /// Starts the first file. Does not create the directory: while it is missing, entries are
    /// dropped. An empty path means the current directory at the time of each use.
    explicit LogglySink(std::filesystem::path directory);
    ~LogglySink() override;

    void flush() override;
    void append(const Message& message) override;

    /// Closes the current file, even if it is empty, and starts a new one.
    void useNewFile();

    /// Sets the callable for runs that start after this call. Without one, nothing is ever
    /// delivered. An empty one ends each run at its first file.
    void setUploadFile(std::function<bool(const std::filesystem::path&)> uploadFile);

    /// Starts a run over the files that are closed at this time. Does nothing while another run is
    /// in progress, or if the system refuses the listing or the thread, which is not reported.
    void uploadTemporaryFiles();

    /// Whether a run is in progress.
    bool uploadRunning() const;

    /// Blocks until the run has ended. Never rethrows an error of the run.
    void waitForUpload() const;

    /// Returns the closed files in file system order: everything in the directory whose name ends
    /// in ".log", except the current file. The list is empty if the directory cannot be read.
    std::vector<std::filesystem::path> getLogFiles();

private:
    void rotate();
    std::shared_ptr<const std::vector<std::filesystem::path>> listForRun();
    void runUpload(const std::vector<std::filesystem::path>& files);

    const std::filesystem::path directory_;
    std::filesystem::path currentFile_;
    std::unique_ptr<FileSink> fileSink_;
    std::future<void> uploadFuture_;
    std::mutex uploadMutex_;
    std::function<bool(const std::filesystem::path&)> uploadFile_;

    /// The list of the current run, which owns it and releases it when it ends. Guarded by the
    /// sink's lock.
    std::weak_ptr<const std::vector<std::filesystem::path>> runFiles_;
    /// Files that ended a run and are therefore offered last, the most recent at the end. Used by
    /// the run while there is one, otherwise by the thread that starts it.
    std::vector<std::filesystem::path> runEnders_;
};

}  // namespace Korvel
