#pragma once

#include <Korvel/Export.h>
#include <Korvel/Message.h>

#include <mutex>

namespace Korvel {

/// A destination of log entries.
///
/// For implementers:
///
/// A SinkHandler calls append and flush one at a time, from its worker thread only. Such a call
/// must not call log, flush, installSink, removeSink or stopProcessing of the same handler, nor
/// release the handler's last shared pointer.
///
/// A sink that throws out of append or flush ends the worker that called it, for all sinks of the
/// handler and without any report. A sink that has to survive a failed write deals with the failure
/// itself.
///
/// A sink that is installed in several handlers, or that the application also calls directly, sees
/// concurrent calls. The sinks of the library guard themselves with `sinkLock`; Filter has no state
/// to guard.
///
/// Ownership: sinks live in shared pointers.
class KORVEL_API Sink {
public:
    Sink() = default;
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    virtual ~Sink();

    /// Pushes out whatever the sink still buffers.
    virtual void flush() = 0;

    /// Takes one message. From a SinkHandler it is an entry: a Map whose key "message" holds the
    /// type name. A direct caller can pass any Message. The reference is good for the length of the
    /// call: a sink that wants the message later takes a copy.
    virtual void append(const Message& message) = 0;

protected:
    /// The sink's lock, for the derived class to guard its own state with. Not recursive.
    std::mutex sinkLock;
};

}  // namespace Korvel
