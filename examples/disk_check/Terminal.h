#pragma once

namespace DiskCheck {

/// Whether standard error is shown to a person at once, rather than kept in a file or a pipe.
bool isErrorOutputTerminal();

}  // namespace DiskCheck
