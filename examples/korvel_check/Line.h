// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "Kind.h"

#include <optional>
#include <string>

namespace KorvelCheck {

/// The content of a line.
struct Line {
    /// What is wrong with it, if anything.
    std::optional<Kind> fault;
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
