// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

// Conversions of any bytes and units: what they accept has one text and reads back.

#include <Korvel/Korvel.h>

#include <stdexcept>

using Korvel::Message;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    std::wstring units;
    for (std::size_t i = 0; i + 2 < size; i += 3) {
        units += static_cast<wchar_t>(data[i] << 16 | data[i + 1] << 8 | data[i + 2]);
    }
    try {
        const std::wstring wide = Message::strToWstr({data, data + size});
        if (Message::strToWstr(Message::wstrToStr(wide)) != wide) __builtin_trap();
    } catch (const std::range_error&) {}
    try {
        const std::string narrow = Message::wstrToStr(units);
        if (Message(units).getString() != narrow) __builtin_trap();
        (void)Message(units).toJson(false, narrow);
        (void)Message::strToWstr(narrow);
    } catch (const std::range_error&) {}
    return 0;
}
