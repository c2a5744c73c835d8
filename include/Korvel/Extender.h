// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Export.h>
#include <Korvel/Logger.h>

#include <functional>
#include <memory>
#include <string>

namespace Korvel {

/// A Logger that adds one key to every message and passes it to the wrapped Logger.
///
/// It runs on the thread that calls log, so the added value reflects the time and thread of the
/// call. Extenders can be chained and run from the outside in: a getter sees the keys of the outer
/// ones. An existing key is overwritten, so if two extenders set the same key, the one closer to
/// the SinkHandler wins. A payload that is neither a Map nor Null is first moved to the key
/// "messageData".
///
/// createStaticExtender, createThreadIdExtender and createTimestampExtender (Functions.h) create
/// the usual kinds.
///
/// Threads: log takes no lock and may be called from several threads at once, so the getter must be
/// thread-safe.
///
/// Ownership: shares the wrapped logger, so an application needs to hold only the outermost one.
class KORVEL_API Extender : public Logger {
public:
    /// `logger` must not be null. `getter` computes the value from the message. Throws
    /// WrongKeyException if `key` is empty or "message".
    Extender(std::shared_ptr<Logger> logger, std::wstring key,
             std::function<Message(const Message&)> getter);
    ~Extender() override;

    using Logger::log;

    /// Returns and throws what the wrapped logger does. An exception from the getter, or
    /// `std::bad_function_call` if it is empty, propagates, and nothing is logged.
    bool log(const std::wstring& type, Message message) override;

    /// Flushes the wrapped logger.
    void flush() override;

private:
    std::shared_ptr<Logger> logger_;
    std::wstring key_;
    std::function<Message(const Message&)> getter_;
};

}  // namespace Korvel
