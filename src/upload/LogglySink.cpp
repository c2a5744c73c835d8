#include <Korvel/LogglySink.h>

#include "upload/StagingFile.h"
#include "upload/UploadRun.h"

#include <chrono>
#include <system_error>

namespace Korvel {
namespace {

using std::filesystem::path;

/// By the name alone, and from its last dot on: ".log" has the extension ".log" here.
bool hasStagingSuffix(const path& file) {
    const path name = file.filename();
    const auto dot = name.native().rfind(path::value_type('.'));
    if (dot == path::string_type::npos) return false;
    return name.native().substr(dot + 1) == LogglySink::SUFFIX.native();
}

}  // namespace

// NOLINTBEGIN(readability-redundant-declaration)
// On Windows a program that binds a reference to one of these looks for it in the library.
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
    if (fileSink_->getSize() >= MAX_FILE_SIZE) rotate();
    fileSink_->append(message);
}

void LogglySink::useNewFile() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    rotate();
}

/// Replaces the current file; the sink's lock must be held.
void LogglySink::rotate() {
    StagingFile next = createStagingFile(directory_);
    currentFile_ = std::move(next.path);
    fileSink_.reset(new FileSink(std::move(next.file), false, MAX_ENTRY_SIZE));
}

void LogglySink::setUploadFile(std::function<bool(const path&)> uploadFile) {
    const std::lock_guard<std::mutex> guard(uploadMutex_);
    // The old callable goes with the argument, after the lock.
    uploadFile_.swap(uploadFile);
}

void LogglySink::uploadTemporaryFiles() {
    if (uploadRunning()) return;
    try {
        uploadFuture_ = std::async(std::launch::async, [this, files = getLogFiles()]() mutable {
            // Taken out of the task, which lives until the next run, so that it ends with this one.
            const auto list = std::move(files);
            runUpload(list);
        });
    } catch (const std::system_error&) {
        // No run then: the files stay, and the next call tries again.
    }
}

void LogglySink::runUpload(const std::vector<path>& files) {
    std::unique_lock<std::mutex> guard(uploadMutex_);
    const auto uploadFile = uploadFile_;
    guard.unlock();
    for (const path& file : files) uploadStagedFile(file, uploadFile);
}

bool LogglySink::uploadRunning() const {
    return uploadFuture_.valid() &&
           uploadFuture_.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
}

void LogglySink::waitForUpload() const {
    if (uploadFuture_.valid()) uploadFuture_.wait();
}

std::vector<path> LogglySink::getLogFiles() {
    std::vector<path> files;
    std::error_code error;
    std::filesystem::directory_iterator entry(directory_, error);
    const std::lock_guard<std::mutex> guard(sinkLock);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        path file = directory_ / entry->path().filename();
        // By text: both paths are the directory joined with a name.
        if (file.native() == currentFile_.native() || !hasStagingSuffix(file)) continue;
        files.push_back(std::move(file));
    }
    return files;
}

}  // namespace Korvel
