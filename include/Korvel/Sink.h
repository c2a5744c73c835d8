// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Export.h>
#include <Korvel/Message.h>

#include <mutex>

namespace Korvel {

/// A destination of log entries.
///
/// For implementers:
///
/// A SinkHandler calls append and flush one at a time, from its worker thread only. Neither may
/// call log, flush, installSink, removeSink or stopProcessing of the same handler, or release the
/// last shared pointer to the handler.
///
/// A sink that throws from append or flush ends the worker that called it, for all sinks of the
/// handler and without a report. A sink that must survive a failed write has to handle the failure
/// itself.
///
/// A sink that is installed in several handlers, or that the application also calls directly,
/// receives concurrent calls. The library's sinks guard their state with `sinkLock`; Filter has no
/// state to guard.
///
/// Ownership: sinks live in shared pointers.
class KORVEL_API Sink {
public:
    Sink() = default;
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    virtual ~Sink();

    /// Writes out everything that the sink still buffers.
    virtual void flush() = 0;

    /// Receives one message. From a SinkHandler it is an entry: a Map whose key "message" holds the
    /// type name. A direct caller can pass any Message. The reference is valid only during the
    /// call: a sink that needs the message later copies it.
    virtual void append(const Message& message) = 0;

protected:
    /// The sink's lock, with which the derived class guards its state. Not recursive.
    std::mutex sinkLock;
};

}  // namespace Korvel
