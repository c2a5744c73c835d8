#include <Korvel/Logger.h>

namespace Korvel {

Logger::~Logger() = default;

bool Logger::log(const std::string& type, Message message) {
    return log(Message::strToWstr(type), Message(Message::TakeOver(), message));
}

void Logger::wrapPayload(Message& message) {
    if (message.isMap() || message.isNull()) return;
    Message wrapped;
    wrapped.set(L"messageData", std::move(message));
    message = std::move(wrapped);
}

}  // namespace Korvel
