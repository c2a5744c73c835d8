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

/// Stages entries for a log service in files of one directory, and on request hands the closed
/// files to an upload callable of the application. The library itself has no network code.
///
/// Staging. Entries go to the current file as JSON lines. A file that has reached MAX_FILE_SIZE
/// gets no further entry: the next one begins a new file, so an entry is never split between files,
/// and a file exceeds the limit by less than one entry. An entry above MAX_ENTRY_SIZE is replaced
/// by the notice of FileSink. Every line has left the process when append returns. docs/staging.md
/// describes the names and the states of the files.
///
/// Upload. Nothing is uploaded unless the application asks: uploadTemporaryFiles starts a run on a
/// thread of its own, which offers each closed file once to the callable. A file for which the
/// callable returns true is deleted; any other gets its name back and is offered by a later run.
/// While it is offered, its name has ".tmp" appended. All `.log` files of the directory count,
/// those of earlier processes included, but never the current one: call useNewFile first to send
/// everything.
///
/// The upload callable gets the path of a closed file and may take as long as it likes, delete the
/// file itself, or throw. No lock of the library is held meanwhile. It may call setUploadFile,
/// useNewFile, append and flush, but must not call waitForUpload or destroy the sink.
///
/// A callable that throws ends the run, and so does a delivered file that cannot be deleted. Later
/// runs of this sink offer that file after all others, so it does not hold them up.
///
/// What is not promised. Delivery is at least once: a process that ends between delivery and
/// deletion leaves a `.log.tmp` file, which no run offers again, and a file whose deletion fails is
/// offered again. The directory has no limit. A file that cannot be opened or written is silent:
/// its entries are dropped, and every further append tries one new file, so staging recovers by
/// itself. It removes a file to which not even the first write succeeded when it begins the next.
/// One directory serves one sink: several never overwrite one another's files, but a run of one
/// also takes the current file of another, which then loses what is appended later. Errors of a run
/// are not reported; only the files that remain in the directory show them.
///
/// Errors: `std::runtime_error` "LogglySink constructor could not create a new file." from any
/// operation that begins a file, when all numbers of a name are taken; what FileSink::append
/// throws.
///
/// Threads: append, flush, useNewFile, getLogFiles and setUploadFile from any thread.
/// uploadTemporaryFiles, uploadRunning and waitForUpload from one thread at a time.
///
/// Ownership: the destructor waits for a running upload to work through its whole list, then closes
/// the current file, which a later sink on the directory offers like any other.
class KORVEL_API LogglySink : public Sink {
public:
    /// "log", without a dot: the extension of staging files. Usable while static objects of other
    /// files are initialised.
    static const std::filesystem::path SUFFIX;

    /// In bytes: 4 MiB and 1 MiB.
    static constexpr std::uint64_t MAX_FILE_SIZE = 0x400000;
    static constexpr std::uint64_t MAX_ENTRY_SIZE = 0x100000;

    /// A name for a new file in `directory`, made of the current time. Nothing is there at this
    /// moment, and nothing is created. Throws the `std::runtime_error` of the class.
    static std::filesystem::path getNewFileName(const std::filesystem::path& directory);

    /// The first free of `prefix`_0.log, `prefix`_1.log and so on. A name whose status cannot be
    /// determined counts as free. A dot in `prefix` is a character like any other.
    static std::filesystem::path findFreeFileName(const std::filesystem::path& directory,
                                                  const std::wstring& prefix);

    /// Puts `message`, as it is, into a file of its own in the directory "directUpload" of the
    /// system's temporary directory, and calls `uploadFile` with it on this thread. True deletes
    /// the file. Otherwise it stays, and no run ever offers it: the application has to clear it.
    /// There is no size limit.
    ///
    /// On POSIX the directory and its files are for their owner alone. A "directUpload" that is a
    /// link, belongs to another user, or can be written to by group or others, is refused.
    ///
    /// Errors: `std::filesystem::filesystem_error` if there is no temporary directory, if the
    /// directory cannot be made or is refused, or if the file cannot be deleted;
    /// `std::bad_function_call` for an empty callable; what rendering and the callable throw. A
    /// file that cannot be opened is no error: the callable then gets a path without a file.
    ///
    /// Threads: any, also at once; every call has a file of its own, also among processes.
    static void directUploadLogEntry(const Message& message,
                                     std::function<bool(const std::filesystem::path&)> uploadFile);

    /// Begins the first file. The directory is not created: as long as it is missing, entries are
    /// dropped. An empty path means the current directory, whatever that is at each moment.
    explicit LogglySink(std::filesystem::path directory);
    ~LogglySink() override;

    void flush() override;
    void append(const Message& message) override;

    /// Closes the current file, however little it holds, and begins a new one.
    void useNewFile();

    /// The callable for the runs that start from now on. Without one nothing is ever delivered. An
    /// empty one ends each run at its first file.
    void setUploadFile(std::function<bool(const std::filesystem::path&)> uploadFile);

    /// Starts a run over the files that are closed now. Does nothing while another run goes on, or
    /// if the system refuses the listing or the thread, which is not reported.
    void uploadTemporaryFiles();

    bool uploadRunning() const;

    /// Blocks until the run has ended. Never throws an error of the run.
    void waitForUpload() const;

    /// The closed files, in the order of the file system: everything in the directory whose name
    /// ends in ".log", except the current file. Empty if the directory cannot be read.
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

    /// The list of the run, which owns it and drops it at its end. Guarded by the sink's lock.
    std::weak_ptr<const std::vector<std::filesystem::path>> runFiles_;
    /// What has ended a run, and so is offered last, the latest at the end. Belongs to the run
    /// while there is one, and to its starter otherwise.
    std::vector<std::filesystem::path> runEnders_;
};

}  // namespace Korvel
