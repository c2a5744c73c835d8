// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "extras/platform/Terminal.h"

#include <windows.h>

#include <algorithm>
#include <mutex>
#include <string_view>

namespace Korvel::Extras {
namespace {

/// Old consoles refuse more than 64 KiB in one call.
constexpr std::size_t PIECE = 8192;
/// Not in every header that mingw has shipped.
constexpr DWORD ACCEPT_SEQUENCES = 0x0004;

HANDLE handleOf(StandardStream stream) noexcept {
    return GetStdHandle(stream == StandardStream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

/// Makes a console accept colour sequences while it lives. The mode belongs to the console, which
/// the application and other processes share, so it is changed only for the moment of a write, and
/// by one thread at a time: another one would put back the mode that it has seen meanwhile.
class ConsoleMode {
public:
    ConsoleMode(HANDLE console, DWORD before) noexcept
        : console_(console),
          before_(before),
          acceptsSequences_(
              SetConsoleMode(console, before | ENABLE_PROCESSED_OUTPUT | ACCEPT_SEQUENCES) != 0) {}
    ConsoleMode(const ConsoleMode&) = delete;
    ConsoleMode& operator=(const ConsoleMode&) = delete;
    ~ConsoleMode() { SetConsoleMode(console_, before_); }

    bool acceptsSequences() const noexcept { return acceptsSequences_; }

private:
    const HANDLE console_;
    const DWORD before_;
    const bool acceptsSequences_;
};

std::mutex modeLock;

std::wstring toUtf16(std::string_view text) {
    const int size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        (std::max)(0, MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size))));
    return wide;
}

/// A surrogate pair must not be split.
std::size_t endOfPiece(std::wstring_view text) {
    if (text.size() <= PIECE) return text.size();
    return IS_HIGH_SURROGATE(text[PIECE - 1]) ? PIECE - 1 : PIECE;
}

void writeToConsole(HANDLE console, std::wstring_view rest) {
    while (!rest.empty()) {
        DWORD written = 0;
        const auto size = static_cast<DWORD>(endOfPiece(rest));
        if (WriteConsoleW(console, rest.data(), size, &written, nullptr) == 0) return;
        if (written == 0) return;
        rest.remove_prefix(written);
    }
}

void writeToFile(HANDLE file, std::string_view rest) {
    while (!rest.empty()) {
        DWORD written = 0;
        const auto size = static_cast<DWORD>((std::min)(rest.size(), std::size_t{MAXLONG}));
        if (WriteFile(file, rest.data(), size, &written, nullptr) == 0) return;
        if (written == 0) return;
        rest.remove_prefix(written);
    }
}

}  // namespace

bool Terminal::showsColours(StandardStream stream) noexcept {
    const std::lock_guard<std::mutex> guard(modeLock);
    DWORD mode = 0;
    const HANDLE handle = handleOf(stream);
    return GetConsoleMode(handle, &mode) != 0 && ConsoleMode(handle, mode).acceptsSequences();
}

void Terminal::writeLine(StandardStream stream, std::string line) {
    const HANDLE handle = handleOf(stream);
    line += "\r\n";
    const std::lock_guard<std::mutex> guard(modeLock);
    DWORD mode = 0;
    if (GetConsoleMode(handle, &mode) == 0) {
        writeToFile(handle, line);
    } else {
        const ConsoleMode sequences(handle, mode);
        writeToConsole(handle, toUtf16(line));
    }
}

bool Terminal::toLocalTime(std::time_t time, std::tm& fields) noexcept {
    return localtime_s(&fields, &time) == 0;
}

}  // namespace Korvel::Extras
