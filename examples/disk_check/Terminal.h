#pragma once

namespace DiskCheck {

/// Whether standard error is a terminal rather than a file or a pipe.
bool isErrorOutputTerminal();

}  // namespace DiskCheck
