// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Logger.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

namespace Korvel::Extras {

class ExitFlush;

/// At which ends of the process a FlushAtExit flushes.
struct FlushAtExitOptions {
    /// An uncaught exception and `std::terminate`.
    bool atTerminate = true;
    /// `std::exit`, which does not destroy the local variables of `main`, and the return from main.
    bool atExit = true;
    /// SIGTERM and SIGINT; on Windows the console control events (Ctrl+C, Ctrl+Break, close, logoff
    /// and shutdown). Off, because signals belong to the application.
    bool atSignals = false;
    /// How long the end of the process waits for the flush, which itself has no limit. The maximum
    /// of the type means to wait until the flush has ended.
    std::chrono::milliseconds limit = std::chrono::seconds(2);
};

/// Flushes a logger when the process ends in a way that does not destroy the logger.
///
/// It only flushes and never stops the logger, so entries logged later still arrive if the process
/// goes on. A thread of its own, made by the constructor, calls flush; the end of the process waits
/// for it up to the limit and then continues.
///
/// std::terminate: after the flush the terminate handler that was installed before is called, on
/// the thread that terminates. The default one still prints the exception. If the worker of the
/// logger itself terminates, the flush cannot succeed and takes the whole limit.
///
/// std::exit: the flush is registered with `std::atexit` by the constructor. It therefore includes
/// what the destructors of static objects log, if the objects were made after the FlushAtExit. Make
/// the sinks before it.
///
/// Signals (POSIX): the handler only wakes a thread, which flushes. Then the process dies by the
/// same signal, so a service manager sees a clean end. As process 1 of a container, for which the
/// system ignores such a signal, it ends with the code 128 + number. If the application had
/// installed its own handler before, that is called instead, as if the signal came after the flush.
/// A second signal during the flush is passed on immediately. A signal that the process ignores, as
/// under nohup, stays ignored.
///
/// Console control events (Windows): after the flush the next handler decides. A second event
/// during the flush is passed on immediately. The system ends the process five seconds after a
/// close event.
///
/// Several objects: each flushes its own logger, all at the same time. The handlers of the process
/// are installed by the first object that needs them and put back by the last.
///
/// Not promised: nothing is flushed by `abort`, SIGKILL, `_exit`, `quick_exit`, TerminateProcess, a
/// crash (SIGSEGV, SIGBUS, SIGFPE, SIGILL: the memory is in doubt) or a loss of power. A handler
/// that the application installs later replaces this one unless it calls it. sigwait and signalfd
/// take a signal before any handler: call flush before such a program ends. A process made by
/// fork has no worker, so there nothing is flushed and signals act as if this object did not exist.
/// With the runtime of Visual C++, a terminate handler is only that of the thread that installs it.
///
/// Errors: the constructor throws `std::invalid_argument` for a null logger, and
/// `std::system_error` or `std::bad_alloc` if the system refuses a thread, a pipe or memory. An
/// exception from flush is swallowed.
///
/// Threads: may be constructed and destroyed on any thread, but not by a sink.
///
/// Ownership: shares the logger. The destructor releases it without a flush, because the destructor
/// of a SinkHandler delivers all entries. It waits for a flush that has begun, up to the limit of
/// that flush. If the flush is stuck for longer, its thread and the logger are abandoned. Destroy
/// the object before a library that contains it is unloaded.
class FlushAtExit {
public:
    /// Flushes `logger`, which must not be null, at the ends that `options` select.
    explicit FlushAtExit(std::shared_ptr<Logger> logger, const FlushAtExitOptions& options = {})
        : FlushAtExit(options, std::move(logger)) {
        // Registered here and not in the library: on Windows the exit functions of a DLL run after
        // all other threads have been ended.
        if (options.atExit && std::atexit(&flushForExit) != 0) throw std::bad_alloc();
    }
    FlushAtExit(const FlushAtExit&) = delete;
    FlushAtExit& operator=(const FlushAtExit&) = delete;
    KORVEL_EXTRAS_API ~FlushAtExit();

private:
    KORVEL_EXTRAS_API FlushAtExit(const FlushAtExitOptions& options,
                                  std::shared_ptr<Logger> logger);
    KORVEL_EXTRAS_API static void flushForExit();

    std::unique_ptr<ExitFlush> flush_;
};

}  // namespace Korvel::Extras
