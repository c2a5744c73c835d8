// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/ReopeningFileSink.h>

#include "extras/platform/File.h"

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <string>
#include <utility>

namespace Korvel::Extras {
namespace {

using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

constexpr std::chrono::seconds RETRY_INTERVAL{1};

// A lock in a signal handler could wait for the thread that the signal has interrupted.
static_assert(std::atomic<bool>::is_always_lock_free);

std::string lineOf(const Message& message) {
    return message.toJson(false, std::string()).append(LINE_END);
}

std::string noticeOf(std::uint64_t dropped) {
    return lineOf({{"dropped", dropped}, {"message", "EntriesDropped"}, {"severity", "warning"}});
}

void printFailure(const fs::path& path, std::string_view action, const std::error_code& error) {
    const auto name = path.u8string();
    std::string line = "Korvel: log file ";
    line.append(name.begin(), name.end()).append(": cannot ").append(action);
    line.append(": ").append(error.message()).append("\n");
    std::fwrite(line.data(), 1, line.size(), stderr);
}

fs::path numbered(fs::path path, unsigned number) {
    path += ".";
    return path += std::to_string(number);
}

/// Renames `path` to number 1 after it has made that free. Shifts only files up to the first free
/// number: if the last rename keeps failing, each further try finds number 1 free and shifts none,
/// so it pushes no file out.
std::error_code shiftFiles(const fs::path& path, unsigned kept) {
    std::error_code error;
    if (fs::is_symlink(path, error)) {
        return std::make_error_code(std::errc::too_many_symbolic_link_levels);
    }
    unsigned free = 1;
    while (free < kept && fs::exists(fs::symlink_status(numbered(path, free), error))) ++free;
    for (; free > 1; --free) {
        error = renameFile(numbered(path, free - 1), numbered(path, free));
        if (error) return error;
    }
    return renameFile(path, numbered(path, 1));
}

ReopeningFileSinkOptions completed(ReopeningFileSinkOptions options, const fs::path& path) {
    options.keptFiles = (std::max)(options.keptFiles, 1U);
    if (!options.clock) options.clock = Clock::now;
    if (!options.onFailure) {
        options.onFailure = [path](std::string_view action, const std::error_code& error) {
            printFailure(path, action, error);
        };
    }
    return options;
}

}  // namespace

/// All but the lock and the flag. An attempt that has failed is due again after RETRY_INTERVAL.
class ReopeningFileSink::File {
public:
    File(const fs::path& path, ReopeningFileSinkOptions options)
        : path_(fs::absolute(path)),
          options_(completed(std::move(options), path_)),
          now_(options_.clock()),
          lastSync_(now_) {
        std::error_code error;
        adopt(AppendedFile::open(path_, options_.mode, nullptr, error));
        if (error) throw fs::filesystem_error("Cannot open the log file", path_, error);
    }

    void append(const std::string& line, bool reopen) {
        if (!prepare(reopen) || !write(line)) {
            ++status_.dropped;
            ++untold_;
        }
    }

    void flush(bool reopen) {
        prepare(reopen);
        sync();
    }

    ReopeningFileSinkStatus status() const {
        ReopeningFileSinkStatus status = status_;
        status.isDropping = untold_ > 0;
        return status;
    }

private:
    /// Returns whether a line can be written now.
    bool prepare(bool reopen) {
        now_ = options_.clock();
        const bool isRetry = untold_ > 0 && now_ >= nextWrite_;
        mustOpen_ = mustOpen_ || reopen || isRetry || hasMoved();
        if (mustOpen_ && now_ >= nextOpen_) open();
        return untold_ == 0 || (isRetry && tellDropped());
    }

    bool hasMoved() {
        if (!options_.checksPath || now_ < nextCheck_) return false;
        nextCheck_ = now_ + RETRY_INTERVAL;
        return !file_->isAt(path_);
    }

    bool tellDropped() {
        if (!write(noticeOf(untold_))) return false;
        untold_ = 0;
        return true;
    }

    void open() {
        std::error_code error;
        auto next = AppendedFile::open(path_, options_.mode, file_.get(), error);
        mustOpen_ = next == nullptr;
        if (mustOpen_) {
            nextOpen_ = now_ + RETRY_INTERVAL;
            report("open", error);
            return;
        }
        sync();
        adopt(std::move(next));
    }

    void adopt(std::unique_ptr<AppendedFile> file) {
        if (file == nullptr) return;
        file_ = std::move(file);
        size_ = file_->size();
        isTorn_ = file_->beganTorn();
    }

    bool write(const std::string& line) {
        rotateIfFull(line.size());
        const std::string text = isTorn_ ? std::string(LINE_END) + line : std::string();
        const std::string& bytes = isTorn_ ? text : line;
        std::error_code error;
        const std::size_t written = file_->write(bytes, error);
        size_ += written;
        if (written > 0) isTorn_ = bytes[written - 1] != '\n';
        if (error) {
            nextWrite_ = now_ + RETRY_INTERVAL;
            report("write", error);
            return false;
        }
        ++unsynced_;
        syncIfDue();
        return true;
    }

    bool fits(std::size_t bytes) const { return size_ == 0 || size_ + bytes <= options_.maxBytes; }

    void rotateIfFull(std::size_t bytes) {
        if (isTorn_) bytes += LINE_END.size();
        if (options_.maxBytes == 0 || mustOpen_ || now_ < nextRotation_ || fits(bytes)) return;
        size_ = file_->size();  // Somebody else can have emptied it.
        if (!fits(bytes)) rotate();
    }

    void rotate() {
        // If somebody else has renamed the file, it has been rotated already.
        const std::error_code error =
            file_->isAt(path_) ? shiftFiles(path_, options_.keptFiles) : std::error_code();
        if (error) {
            nextRotation_ = now_ + RETRY_INTERVAL;
            report("rotate", error);
            return;
        }
        open();
    }

    void syncIfDue() {
        const bool isCounted = options_.syncEntries > 0 && unsynced_ >= options_.syncEntries;
        const bool isTimed =
            options_.syncInterval.count() > 0 && now_ - lastSync_ >= options_.syncInterval;
        if (isCounted || isTimed) sync();
    }

    void sync() {
        const bool isAsked = options_.syncEntries > 0 || options_.syncInterval.count() > 0;
        if (!isAsked || unsynced_ == 0) return;
        unsynced_ = 0;
        lastSync_ = now_;
        if (const std::error_code error = file_->sync()) report("sync", error);
    }

    void report(std::string_view action, const std::error_code& error) {
        status_.lastError = error;
        if (now_ < nextReport_) return;
        nextReport_ = now_ + RETRY_INTERVAL;
        try {
            options_.onFailure(action, error);
        } catch (...) {}
    }

    const fs::path path_;
    const ReopeningFileSinkOptions options_;
    std::unique_ptr<AppendedFile> file_;
    std::uint64_t size_ = 0;
    bool isTorn_ = false;
    bool mustOpen_ = false;
    std::uint64_t unsynced_ = 0;
    /// The dropped entries that no notice in the file counts yet. Not 0 as long as writes fail.
    std::uint64_t untold_ = 0;
    ReopeningFileSinkStatus status_;

    Clock::time_point now_;
    Clock::time_point lastSync_;
    Clock::time_point nextCheck_;
    Clock::time_point nextOpen_;
    Clock::time_point nextRotation_;
    Clock::time_point nextWrite_;
    Clock::time_point nextReport_;
};

ReopeningFileSink::ReopeningFileSink(const fs::path& path, ReopeningFileSinkOptions options)
    : file_(std::make_unique<File>(path, std::move(options))) {}

ReopeningFileSink::~ReopeningFileSink() {
    try {
        file_->flush(isReopenRequested_);
    } catch (...) {}
}

void ReopeningFileSink::reopen() noexcept {
    isReopenRequested_.store(true, std::memory_order_relaxed);
}

void ReopeningFileSink::flush() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    file_->flush(isReopenRequested_.exchange(false));
}

void ReopeningFileSink::append(const Message& message) {
    const std::string line = lineOf(message);
    const std::lock_guard<std::mutex> guard(sinkLock);
    file_->append(line, isReopenRequested_.exchange(false));
}

ReopeningFileSinkStatus ReopeningFileSink::status() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    return file_->status();
}

}  // namespace Korvel::Extras
