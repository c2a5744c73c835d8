// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/LogglySink.h>

#include "sinks/OutputFile.h"
#include "upload/StagingFile.h"
#include "upload/StagingListing.h"
#include "upload/UploadRun.h"

#include <chrono>
#include <system_error>
#include <utility>

namespace Korvel {
namespace {

using std::filesystem::path;

/// Reads the size from disk, because another process may have written to the file.
void removeIfEmpty(const path& file) {
    std::error_code error;
    if (std::filesystem::file_size(file, error) == 0) std::filesystem::remove(file, error);
}

}  // namespace

// NOLINTBEGIN(readability-redundant-declaration) On Windows a program that binds a reference to one
// of these imports it from the library.
constexpr std::uint64_t LogglySink::MAX_FILE_SIZE;
constexpr std::uint64_t LogglySink::MAX_ENTRY_SIZE;
// NOLINTEND(readability-redundant-declaration)

LogglySink::LogglySink(path directory)
    : directory_(std::move(directory)), uploadFile_([](const path&) { return false; }) {
    useNewFile();
}

LogglySink::~LogglySink() {
    waitForUpload();
    fileSink_.reset();
}

void LogglySink::flush() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    fileSink_->flush();
}

void LogglySink::append(const Message& message) {
    const std::lock_guard<std::mutex> guard(sinkLock);
    // A failed file reports the largest size, so it is replaced too.
    if (fileSink_->file_->bytesWritten() >= MAX_FILE_SIZE) rotate();
    fileSink_->append(message);
}

void LogglySink::useNewFile() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    rotate();
}

/// Replaces the current file; the sink's lock must be held.
///
/// The new file must not get a name that an upload run may give back to one of its files: that
/// rename would replace the new file, and later entries would go to a deleted file. Checking the
/// disk cannot rule this out, because the run renames files without a lock. So all names of a run
/// stay reserved until it ends. No other run can start in between, because listing its files
/// requires the sink's lock.
void LogglySink::rotate() {
    const auto run = runFiles_.lock();
    StagingFile next = createStagingFile(directory_, OutputFile::Mode::CreateNew, run.get());
    const path replaced = std::exchange(currentFile_, std::move(next.path));
    const bool holdsNothing = fileSink_ != nullptr && fileSink_->file_->firstWriteFailed();
    fileSink_.reset(new FileSink(std::move(next.file), false, MAX_ENTRY_SIZE));
    // On a full disk this happens at every append. No run has the file in its list, because it was
    // the current file until now.
    if (holdsNothing) removeIfEmpty(replaced);
}

void LogglySink::setUploadFile(std::function<bool(const path&)> uploadFile) {
    const std::lock_guard<std::mutex> guard(uploadMutex_);
    // The old callable is destroyed with the argument, after the lock is released.
    uploadFile_.swap(uploadFile);
}

void LogglySink::uploadTemporaryFiles() {
    if (uploadRunning()) return;
    try {
        uploadFuture_ = std::async(std::launch::async, [this, files = listForRun()]() mutable {
            // Moved out of the task, which exists until the next run, so the list is released at
            // the end of this run.
            const auto list = std::move(files);
            runUpload(*list);
        });
    } catch (const std::system_error&) {
        // No run starts. The files stay, and the next call tries again.
    }
}

/// Lists the files of a run and reserves their names in one step.
std::shared_ptr<const std::vector<path>> LogglySink::listForRun() {
    StagingListing listing(directory_);
    const std::lock_guard<std::mutex> guard(sinkLock);
    const auto files = std::make_shared<std::vector<path>>(listing.filesBut(currentFile_));
    moveToEnd(*files, runEnders_);
    runFiles_ = files;
    return files;
}

void LogglySink::runUpload(const std::vector<path>& files) {
    std::unique_lock<std::mutex> guard(uploadMutex_);
    const auto uploadFile = uploadFile_;
    guard.unlock();
    for (const path& file : files) {
        try {
            uploadStagedFile(file, uploadFile);
        } catch (...) {
            // Goes after the others that ended a run, so each of them gets its turn.
            std::erase(runEnders_, file);
            runEnders_.push_back(file);
            throw;
        }
    }
}

bool LogglySink::uploadRunning() const {
    return uploadFuture_.valid() &&
           uploadFuture_.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
}

void LogglySink::waitForUpload() const {
    if (uploadFuture_.valid()) uploadFuture_.wait();
}

std::vector<path> LogglySink::getLogFiles() {
    StagingListing listing(directory_);
    const std::lock_guard<std::mutex> guard(sinkLock);
    return listing.filesBut(currentFile_);
}

}  // namespace Korvel
