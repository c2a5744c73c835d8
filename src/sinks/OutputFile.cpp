#include "sinks/OutputFile.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <algorithm>
#include <climits>
#else
#include <fcntl.h>
#include <unistd.h>
#include <cerrno>
#endif

namespace Korvel {
namespace {

constexpr int CLOSED = -1;

#ifdef _WIN32

int openFile(const std::filesystem::path& path, OutputFile::Mode mode) {
    // Binary, because the runtime's own text mode would cut a long line into several writes.
    const int flags = _O_WRONLY | _O_CREAT | _O_BINARY | _O_NOINHERIT |
                      (mode == OutputFile::Mode::Truncate ? _O_TRUNC : _O_APPEND);
    return _wsopen(path.c_str(), flags, _SH_DENYNO, _S_IREAD | _S_IWRITE);
}

void closeFile(int descriptor) {
    _close(descriptor);
}

std::string lineEndsOnDisk(std::string text) {
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

#else

int openFile(const std::filesystem::path& path, OutputFile::Mode mode) {
    constexpr mode_t READ_AND_WRITE = 0666;  // What the umask leaves of it.
    const int flags =
        O_WRONLY | O_CREAT | O_CLOEXEC | (mode == OutputFile::Mode::Truncate ? O_TRUNC : O_APPEND);
    return open(path.c_str(), flags, READ_AND_WRITE);
}

void closeFile(int descriptor) {
    close(descriptor);
}

std::string lineEndsOnDisk(std::string text) {
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

#endif

}  // namespace

OutputFile::OutputFile(const std::filesystem::path& path, Mode mode)
    : descriptor_(openFile(path, mode)), hasFailed_(descriptor_ == CLOSED) {
    if (!hasFailed_ && mode == Mode::Append) seek(descriptor_, SEEK_END);
}

OutputFile::~OutputFile() {
    if (descriptor_ != CLOSED) closeFile(descriptor_);
}

void OutputFile::write(std::string text) {
    const std::string bytes = lineEndsOnDisk(std::move(text));
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

}  // namespace Korvel
