// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace DiskCheck {

/// A text for a log entry, derived from possibly invalid text.
struct ReadableText {
    std::wstring text;
    /// False if something had to be escaped.
    bool isExact = true;
};

/// A file name can be any sequence of bytes, or of 16-bit units on Windows, but a log entry holds
/// only text. Valid text is unchanged. A stray byte becomes "\xFF", a stray surrogate "\uD800". The
/// result is for people: a name can also contain such an escape literally.
ReadableText makeReadable(std::string_view bytes);
ReadableText makeReadable(std::wstring_view units);
ReadableText readablePath(const std::filesystem::path& path);

}  // namespace DiskCheck
