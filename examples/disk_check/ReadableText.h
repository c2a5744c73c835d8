#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace DiskCheck {

/// A text for a log entry, made from one that may not be valid.
struct ReadableText {
    std::wstring text;
    /// False if something had to be escaped.
    bool isExact = true;
};

/// A file name can be any sequence of bytes, or of 16-bit units on Windows, and a log entry only
/// holds text. What is text stays as it is. A stray byte becomes "\xFF", a stray surrogate
/// "\uD800"; this is for reading, as a name can also contain such an escape literally.
ReadableText makeReadable(std::string_view bytes);
ReadableText makeReadable(std::wstring_view units);
ReadableText readablePath(const std::filesystem::path& path);

}  // namespace DiskCheck
