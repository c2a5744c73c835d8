// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

namespace CommandLine {

/// Whether standard error is a terminal rather than a file or a pipe.
bool isErrorOutputTerminal();

}  // namespace CommandLine
