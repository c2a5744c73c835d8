// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "extras/platform/File.h"

#include <windows.h>

#include <algorithm>

namespace Korvel::Extras {
namespace {

constexpr DWORD SHARED = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE handleOf(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

std::error_code lastError() {
    return {static_cast<int>(GetLastError()), std::system_category()};
}

bool isRegular(HANDLE file) {
    return GetFileType(file) == FILE_TYPE_DISK;
}

std::uint64_t sizeOf(HANDLE file) {
    LARGE_INTEGER size = {};
    return isRegular(file) && GetFileSizeEx(file, &size) ? static_cast<std::uint64_t>(size.QuadPart)
                                                         : 0;
}

bool endsInsideLine(HANDLE file) {
    const std::uint64_t size = sizeOf(file);
    if (size == 0) return false;
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(size - 1);
    place.OffsetHigh = static_cast<DWORD>((size - 1) >> 32);
    char last = 0;
    DWORD count = 0;
    return !ReadFile(file, &last, 1, &count, &place) || last != '\n';
}

bool readIdentity(HANDLE file, BY_HANDLE_FILE_INFORMATION& identity) {
    return GetFileInformationByHandle(file, &identity) != 0;
}

}  // namespace

const std::string_view LINE_END = "\r\n";

AppendedFile::AppendedFile(std::intptr_t handle, const std::filesystem::path&)
    : handle_(handle), beganTorn_(endsInsideLine(handleOf(handle))) {}

AppendedFile::~AppendedFile() {
    CloseHandle(handleOf(handle_));
}

std::unique_ptr<AppendedFile> AppendedFile::open(const std::filesystem::path& path,
                                                 std::filesystem::perms, const AppendedFile*,
                                                 std::error_code& error) {
    error.clear();
    // Without FILE_WRITE_DATA, the system appends every write, wherever the file ends then.
    constexpr DWORD ACCESS = FILE_APPEND_DATA | FILE_READ_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE;
    const HANDLE file = CreateFileW(path.c_str(), ACCESS, SHARED, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        error = lastError();
        return nullptr;
    }
    return std::unique_ptr<AppendedFile>(
        new AppendedFile(reinterpret_cast<std::intptr_t>(file), path));
}

std::size_t AppendedFile::write(std::string_view text, std::error_code& error) {
    error.clear();
    std::size_t done = 0;
    while (done < text.size()) {
        constexpr std::size_t MOST = 1U << 30;
        const DWORD size = static_cast<DWORD>((std::min)(text.size() - done, MOST));
        DWORD written = 0;
        if (!WriteFile(handleOf(handle_), text.data() + done, size, &written, nullptr)) {
            error = lastError();
            return done;
        }
        if (written == 0) {
            error = std::make_error_code(std::errc::io_error);
            return done;
        }
        done += written;
    }
    return done;
}

std::uint64_t AppendedFile::size() const {
    return sizeOf(handleOf(handle_));
}

bool AppendedFile::isAt(const std::filesystem::path& path) const {
    const HANDLE other =
        CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, SHARED, nullptr, OPEN_EXISTING, 0, nullptr);
    if (other == INVALID_HANDLE_VALUE) return false;
    BY_HANDLE_FILE_INFORMATION there = {};
    BY_HANDLE_FILE_INFORMATION ours = {};
    const bool isKnown = readIdentity(other, there) && readIdentity(handleOf(handle_), ours);
    CloseHandle(other);
    return isKnown && there.dwVolumeSerialNumber == ours.dwVolumeSerialNumber &&
           there.nFileIndexHigh == ours.nFileIndexHigh && there.nFileIndexLow == ours.nFileIndexLow;
}

std::error_code AppendedFile::sync() {
    const HANDLE file = handleOf(handle_);
    return !isRegular(file) || FlushFileBuffers(file) ? std::error_code() : lastError();
}

std::error_code renameFile(const std::filesystem::path& from, const std::filesystem::path& to) {
    constexpr int TRIES = 6;
    constexpr DWORD PAUSE_MS = 10;
    for (int tries = 1; !MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING);
         ++tries) {
        const std::error_code error = lastError();
        if (tries == TRIES) return error;
        Sleep(PAUSE_MS);
    }
    return {};
}

}  // namespace Korvel::Extras
