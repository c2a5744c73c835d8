#pragma once

#include <Korvel/Export.h>
#include <Korvel/Message.h>

#include <string>

namespace Korvel {

/// Where an application hands in its log messages: a SinkHandler, or a chain of Extenders that ends
/// in one.
///
/// Threads: log and flush may be called from any thread at any time.
///
/// Ownership: loggers live in shared pointers, and a logger that wraps another one keeps it alive.
///
/// For implementers: bring `using Logger::log;` into the derived class, or its own log hides the
/// narrow one.
class KORVEL_API Logger {
public:
    Logger() = default;
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;
    virtual ~Logger();

    /// Offers one message under the type name `type`. True: the end of the chain accepted it, which
    /// does not mean that a sink has seen it. False: it was refused, as by a stopped SinkHandler.
    /// The message is the logger's own: nothing done to it comes back to the caller.
    virtual bool log(const std::wstring& type, Message message) = 0;

    /// Blocks until the chain has delivered and flushed what it has accepted, as far as the end of
    /// the chain promises it.
    virtual void flush() = 0;

    /// The same with a narrow (UTF-8) type name. A name that cannot be converted throws
    /// `std::range_error` "bad conversion", and nothing is logged.
    bool log(const std::string& type, Message message);

protected:
    /// Brings a payload into the form to which keys can be added: a Map or Null stays as it is,
    /// anything else becomes a Map with the payload under the key "messageData".
    static void wrapPayload(Message& message);
};

}  // namespace Korvel
