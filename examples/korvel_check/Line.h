// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace KorvelCheck {

/// What can be wrong with a line by itself.
enum class Fault {
    None,
    NotJson,
    ZeroBytes,
    NotUtf8,
    LoneSurrogate,
    NotFinite,
    DuplicateKey,
    NotAnEntry
};

/// What a line says.
struct Line {
    Fault fault = Fault::None;
    /// Where or what the fault is, for people; can be empty.
    std::string detail;
    /// The texts at "message", "severity" and "timestamp"; empty if there are none.
    std::string type;
    std::string severity;
    std::string timestamp;
};

/// Reads a line without its line feed as strict JSON (RFC 8259) in UTF-8, of any depth. Never
/// throws for what the line contains.
Line readLine(const std::string& text);

}  // namespace KorvelCheck
