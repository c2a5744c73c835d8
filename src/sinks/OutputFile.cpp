// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "sinks/OutputFile.h"

#ifdef _WIN32
#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cerrno>
#include <climits>
#include <limits>
#include <string>

namespace Korvel {
namespace {

constexpr int CLOSED = -1;
constexpr std::uint64_t ALL_ONES = (std::numeric_limits<std::uint64_t>::max)();

#ifdef _WIN32

int openFile(const std::filesystem::path& path, OutputFile::Mode mode) {
    // Binary, because the text mode of the runtime would split a long line into several writes.
    constexpr int FLAGS = _O_WRONLY | _O_APPEND | _O_CREAT | _O_BINARY | _O_NOINHERIT;
    constexpr int BY_MODE[] = {_O_TRUNC, 0, _O_EXCL, _O_EXCL};
    const int flags = FLAGS | BY_MODE[static_cast<int>(mode)];
    return _wsopen(path.c_str(), flags, _SH_DENYNO, _S_IREAD | _S_IWRITE);
}

void closeFile(int descriptor) {
    _close(descriptor);
}

std::string lineEndsOnDisk(std::string_view text) {
    std::string translated;
    translated.reserve(text.size() + 2);
    for (const char byte : text) {
        if (byte == '\n') translated.push_back('\r');
        translated.push_back(byte);
    }
    return translated;
}

std::int64_t writeSome(int descriptor, const char* bytes, std::size_t size) {
    return _write(descriptor, bytes, static_cast<unsigned>((std::min)(size, std::size_t{INT_MAX})));
}

std::int64_t endOf(int descriptor) {
    return _lseeki64(descriptor, 0, SEEK_END);
}

int makeDirectory(const std::filesystem::path& directory) {
    return _wmkdir(directory.c_str());
}

bool isPrivateDirectory(const std::filesystem::path& directory) {
    std::error_code error;
    return std::filesystem::is_directory(directory, error);
}

#else

int openFile(const std::filesystem::path& path, OutputFile::Mode mode) {
    constexpr int FLAGS = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC;
    constexpr int BY_MODE[] = {O_TRUNC, 0, O_EXCL, O_EXCL};
    const int flags = FLAGS | BY_MODE[static_cast<int>(mode)];
    const mode_t permissions = mode == OutputFile::Mode::CreatePrivate ? 0600 : 0666;
    return open(path.c_str(), flags, permissions);
}

void closeFile(int descriptor) {
    close(descriptor);
}

std::string_view lineEndsOnDisk(std::string_view text) {
    return text;
}

std::int64_t writeSome(int descriptor, const char* bytes, std::size_t size) {
    std::int64_t written = 0;
    do {
        written = write(descriptor, bytes, size);
    } while (written < 0 && errno == EINTR);
    return written;
}

std::int64_t endOf(int descriptor) {
    return lseek(descriptor, 0, SEEK_END);
}

int makeDirectory(const std::filesystem::path& directory) {
    return mkdir(directory.c_str(), S_IRWXU);
}

/// Checks the name itself without following links: a link could lead to a directory of ours.
bool isPrivateDirectory(const std::filesystem::path& directory) {
    struct stat status = {};
    return lstat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

#endif

}  // namespace

OutputFile::OutputFile(const std::filesystem::path& path, Mode mode)
    : descriptor_(openFile(path, mode)),
      hasFailed_(descriptor_ == CLOSED),
      wasTaken_(hasFailed_ && errno == EEXIST) {}

OutputFile::~OutputFile() {
    if (descriptor_ != CLOSED) closeFile(descriptor_);
}

void OutputFile::write(std::string_view text) {
    const auto bytes = lineEndsOnDisk(text);
    std::size_t done = 0;
    while (!hasFailed_ && done < bytes.size()) {
        const std::int64_t written =
            writeSome(descriptor_, bytes.data() + done, bytes.size() - done);
        if (written > 0) {
            done += static_cast<std::size_t>(written);
        } else {
            hasFailed_ = true;
        }
    }
    bytesWritten_ += done;
}

std::uint64_t OutputFile::position() const {
    // A failed seek returns -1, which converts to all ones.
    return hasFailed_ ? ALL_ONES : static_cast<std::uint64_t>(endOf(descriptor_));
}

std::uint64_t OutputFile::bytesWritten() const {
    return hasFailed_ ? ALL_ONES : bytesWritten_;
}

bool OutputFile::firstWriteFailed() const {
    return hasFailed_ && descriptor_ != CLOSED && bytesWritten_ == 0;
}

bool OutputFile::wasTaken() const {
    return wasTaken_;
}

void createPrivateDirectory(const std::filesystem::path& directory, std::error_code& error) {
    error.clear();
    if (makeDirectory(directory) == 0) return;
    const std::error_code failure(errno, std::generic_category());
    if (!isPrivateDirectory(directory)) error = failure;
}

}  // namespace Korvel
