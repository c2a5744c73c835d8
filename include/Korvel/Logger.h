// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Export.h>
#include <Korvel/Message.h>

#include <string>

namespace Korvel {

/// The interface that takes an application's log messages: a SinkHandler, or a chain of Extenders
/// that ends in one.
///
/// Threads: log and flush may be called from any thread at any time.
///
/// Ownership: loggers live in shared pointers, and a logger that wraps another one keeps it alive.
///
/// For implementers: put `using Logger::log;` into the derived class, or its log hides the narrow
/// overload.
class KORVEL_API Logger {
public:
    Logger() = default;
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;
    virtual ~Logger();

    /// Logs one message under the type name `type`. Returns true if the end of the chain accepted
    /// it, which does not mean that a sink has received it, and false if it was refused, as by a
    /// stopped SinkHandler. The logger owns the message: the caller never sees changes to it.
    virtual bool log(const std::wstring& type, Message message) = 0;

    /// Blocks until the chain has delivered and flushed what it has accepted. The end of the chain
    /// defines the exact guarantee.
    virtual void flush() = 0;

    /// Does the same with a narrow (UTF-8) type name. A name that cannot be converted throws
    /// `std::range_error` "bad conversion", and nothing is logged.
    bool log(const std::string& type, Message message);

protected:
    /// Prepares a payload for added keys: a Map or Null is unchanged, anything else becomes a Map
    /// with the payload under the key "messageData".
    static void wrapPayload(Message& message);
};

}  // namespace Korvel
