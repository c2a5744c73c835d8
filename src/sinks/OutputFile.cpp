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
#include <string>

namespace Korvel {
namespace {

constexpr int CLOSED = -1;

#ifdef _WIN32

int openFile(const std::filesystem::path& path, OutputFile::Mode mode) {
    // Binary, because the runtime's own text mode would cut a long line into several writes.
    constexpr int FLAGS = _O_WRONLY | _O_CREAT | _O_BINARY | _O_NOINHERIT;
    constexpr int BY_MODE[] = {_O_TRUNC, _O_APPEND, _O_EXCL};
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

std::int64_t seek(int descriptor, int origin) {
    return _lseeki64(descriptor, 0, origin);
}

int makeDirectory(const std::filesystem::path& directory) {
    return _wmkdir(directory.c_str());
}

#else

int openFile(const std::filesystem::path& path, OutputFile::Mode mode) {
    constexpr mode_t READ_AND_WRITE = 0666;  // What the umask leaves of it.
    constexpr int BY_MODE[] = {O_TRUNC, O_APPEND, O_EXCL};
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | BY_MODE[static_cast<int>(mode)];
    return open(path.c_str(), flags, READ_AND_WRITE);
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

std::int64_t seek(int descriptor, int origin) {
    return lseek(descriptor, 0, origin);
}

int makeDirectory(const std::filesystem::path& directory) {
    return mkdir(directory.c_str(), S_IRWXU);
}

#endif

}  // namespace

OutputFile::OutputFile(const std::filesystem::path& path, Mode mode)
    : descriptor_(openFile(path, mode)),
      hasFailed_(descriptor_ == CLOSED),
      wasTaken_(hasFailed_ && mode == Mode::CreateNew && errno == EEXIST) {
    if (!hasFailed_ && mode == Mode::Append) seek(descriptor_, SEEK_END);
}

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
}

std::uint64_t OutputFile::position() const {
    // A failed seek gives -1, which reads as all ones.
    return static_cast<std::uint64_t>(hasFailed_ ? -1 : seek(descriptor_, SEEK_CUR));
}

bool OutputFile::wasTaken() const {
    return wasTaken_;
}

void createPrivateDirectory(const std::filesystem::path& directory, std::error_code& error) {
    error.clear();
    if (makeDirectory(directory) == 0) return;
    const std::error_code failure(errno, std::generic_category());
    if (!std::filesystem::is_directory(directory, error)) error = failure;
}

}  // namespace Korvel
