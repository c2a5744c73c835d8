// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

// Names of staging files for any prefix in any directory: free, with the suffix, directly below it.

#include <Korvel/LogglySink.h>

#include <stdexcept>

using Korvel::LogglySink;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::size_t half = size == 0 ? 0 : data[0] % size;
    const std::filesystem::path directory(std::string(data, data + half));
    try {
        const std::wstring prefix(data + half, data + size);
        const auto name = LogglySink::findFreeFileName(directory, prefix);
        const std::string stem = (directory / "").string() + Korvel::Message::wstrToStr(prefix);
        if (name.string() != stem + "_0.log") __builtin_trap();
    } catch (const std::range_error&) {}
    return 0;
}
