#pragma once

#include <Korvel/Export.h>
#include <Korvel/Logger.h>

#include <functional>
#include <memory>
#include <string>

namespace Korvel {

/// A Logger that adds one key to every message and hands it to the Logger behind it.
///
/// It runs on the thread that calls log, so what it adds belongs to the moment and the thread of
/// the call. Extenders stack and run from the outside in: a getter sees the keys of the outer ones.
/// A key that the message already has is overwritten, so of two extenders with the same key the one
/// nearer to the SinkHandler wins. A payload that is neither a Map nor Null moves under
/// "messageData" first.
///
/// createStaticExtender, createThreadIdExtender and createTimestampExtender (Functions.h) make the
/// usual kinds.
///
/// Threads: log has no lock and may be called from many threads at once; so the getter must be safe
/// for that.
///
/// Ownership: shares the wrapped logger, so an application holds only the outermost one.
class KORVEL_API Extender : public Logger {
public:
    /// `logger` must not be null. `getter` computes the value from the message. Throws
    /// WrongKeyException if `key` is empty or "message".
    Extender(std::shared_ptr<Logger> logger, std::wstring key,
             std::function<Message(const Message&)> getter);
    ~Extender() override;

    using Logger::log;

    /// The result and the exceptions are those of the wrapped logger. An exception of the getter,
    /// or `std::bad_function_call` for an empty one, passes out and nothing is logged.
    bool log(const std::wstring& type, Message message) override;

    /// Flushes the wrapped logger.
    void flush() override;

private:
    std::shared_ptr<Logger> logger_;
    std::wstring key_;
    std::function<Message(const Message&)> getter_;
};

}  // namespace Korvel
