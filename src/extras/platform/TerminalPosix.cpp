// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "extras/platform/Terminal.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace Korvel::Extras {
namespace {

int descriptorOf(StandardStream stream) noexcept {
    return stream == StandardStream::Output ? STDOUT_FILENO : STDERR_FILENO;
}

/// Whether to try again after a write that failed. Descriptors of terminals are shared, so any
/// process can have made ours non-blocking.
bool waitForRoom(int descriptor) noexcept {
    if (errno == EINTR) return true;
    if (errno != EAGAIN) return false;
    pollfd room = {descriptor, POLLOUT, 0};
    return poll(&room, 1, -1) > 0 || errno == EINTR;
}

}  // namespace

bool Terminal::showsColours(StandardStream stream) noexcept {
    return isatty(descriptorOf(stream)) == 1;
}

void Terminal::writeLine(StandardStream stream, std::string line) {
    const int descriptor = descriptorOf(stream);
    line.push_back('\n');
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t written = ::write(descriptor, rest.data(), rest.size());
        if (written > 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || !waitForRoom(descriptor)) {
            return;
        }
    }
}

bool Terminal::toLocalTime(std::time_t time, std::tm& fields) noexcept {
    return localtime_r(&time, &fields) != nullptr;
}

}  // namespace Korvel::Extras
