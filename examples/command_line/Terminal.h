#pragma once

namespace CommandLine {

/// Whether standard error is a terminal rather than a file or a pipe.
bool isErrorOutputTerminal();

}  // namespace CommandLine
