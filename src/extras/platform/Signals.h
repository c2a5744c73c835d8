// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <thread>

// What differs between the platforms.

namespace Korvel::Extras {

/// Calls `flush`, on a thread that may block, when a signal or a console control event asks the
/// process to end. Then what was installed before takes its course. A second call has no effect.
/// Throws `std::system_error`, and then nothing is installed.
void watchSignals(void (*flush)());

/// Puts back what was installed before, unless something else has been installed since. The caller
/// makes calls of both functions one at a time.
void unwatchSignals() noexcept;

/// Starts a thread on which no signal handler runs.
std::thread startThreadWithoutSignals(std::function<void()> run);

/// Differs in a process made by fork.
long processId() noexcept;

}  // namespace Korvel::Extras
