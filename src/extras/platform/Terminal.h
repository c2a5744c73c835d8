// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

// What differs between the platforms in writing to a terminal.

#include <Korvel/Extras/LineConsoleSink.h>

#include <ctime>
#include <string>

namespace Korvel::Extras::Terminal {

/// Whether the stream is a terminal and, on Windows, one that accepts colour sequences.
bool showsColours(StandardStream stream) noexcept;

/// Writes UTF-8 text and a line end as one write, if the system takes it whole. Failures are
/// silent.
void writeLine(StandardStream stream, std::string line);

/// Converts to local time. Returns false if the system cannot.
bool toLocalTime(std::time_t time, std::tm& fields) noexcept;

}  // namespace Korvel::Extras::Terminal
