// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "extras/platform/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace Korvel::Extras {
namespace {

constexpr int CLOSED = -1;

std::error_code lastError() {
    return {errno, std::system_category()};
}

template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

struct stat statusOf(int descriptor) {
    struct stat status = {};
    fstat(descriptor, &status);
    return status;
}

bool isSame(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// The umask applies to the mode of open, so that is set again. A file system without modes or
/// owners refuses, and the log is more important.
void setRights(int descriptor, mode_t mode, int previous) {
    if (previous != CLOSED) {
        const struct stat status = statusOf(previous);
        if (fchown(descriptor, status.st_uid, status.st_gid) != 0) {
            [[maybe_unused]] const int refused =
                fchown(descriptor, static_cast<uid_t>(-1), status.st_gid);
        }
    }
    fchmod(descriptor, mode);
}

int openOrCreate(const char* path, mode_t mode, int previous) {
    constexpr int FLAGS = O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY;
    const auto openWith = [=](int flags) {
        return uninterrupted([=] { return open(path, FLAGS | flags, mode); });
    };
    int descriptor = openWith(0);
    if (descriptor != CLOSED || errno != ENOENT) return descriptor;
    descriptor = openWith(O_CREAT | O_EXCL);
    // Somebody else, such as logrotate, has just created it; or it is a dangling link.
    if (descriptor == CLOSED && errno == EEXIST) return openWith(O_CREAT);
    if (descriptor != CLOSED) setRights(descriptor, mode, previous);
    return descriptor;
}

/// Opens the file a second time, because `descriptor` is only for writing: the writer of a pipe
/// that it could also read would block for ever once the real reader is gone.
bool endsInsideLine(int descriptor, const char* path) {
    const struct stat status = statusOf(descriptor);
    if (!S_ISREG(status.st_mode) || status.st_size == 0) return false;
    const int reader = uninterrupted([=] { return open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK); });
    if (reader == CLOSED) return true;
    char last = 0;
    if (isSame(statusOf(reader), status)) {
        uninterrupted([&] { return pread(reader, &last, 1, status.st_size - 1); });
    }
    close(reader);
    return last != '\n';
}

}  // namespace

const std::string_view LINE_END = "\n";

AppendedFile::AppendedFile(std::intptr_t handle, const std::filesystem::path& path)
    : handle_(handle), beganTorn_(endsInsideLine(static_cast<int>(handle), path.c_str())) {}

AppendedFile::~AppendedFile() {
    close(static_cast<int>(handle_));
}

std::unique_ptr<AppendedFile> AppendedFile::open(const std::filesystem::path& path,
                                                 std::filesystem::perms mode,
                                                 const AppendedFile* previous,
                                                 std::error_code& error) {
    const int owner = previous == nullptr ? CLOSED : static_cast<int>(previous->handle_);
    const int descriptor = openOrCreate(path.c_str(), static_cast<mode_t>(mode), owner);
    error.clear();
    if (descriptor == CLOSED) {
        error = lastError();
        return nullptr;
    }
    return std::unique_ptr<AppendedFile>(new AppendedFile(descriptor, path));
}

std::size_t AppendedFile::write(std::string_view text, std::error_code& error) {
    error.clear();
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t written = uninterrupted([&] {
            return ::write(static_cast<int>(handle_), text.data() + done, text.size() - done);
        });
        if (written <= 0) {
            error = written < 0 ? lastError() : std::make_error_code(std::errc::io_error);
            return done;
        }
        done += static_cast<std::size_t>(written);
    }
    return done;
}

std::uint64_t AppendedFile::size() const {
    const struct stat status = statusOf(static_cast<int>(handle_));
    return S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0;
}

bool AppendedFile::isAt(const std::filesystem::path& path) const {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && isSame(status, statusOf(static_cast<int>(handle_)));
}

std::error_code AppendedFile::sync() {
    const int descriptor = static_cast<int>(handle_);
    if (!S_ISREG(statusOf(descriptor).st_mode)) return {};
    return uninterrupted([=] { return fsync(descriptor); }) == 0 ? std::error_code() : lastError();
}

std::error_code renameFile(const std::filesystem::path& from, const std::filesystem::path& to) {
    return std::rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : lastError();
}

}  // namespace Korvel::Extras
