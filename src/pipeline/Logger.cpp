// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Logger.h>

#include "message/MessageAccess.h"

namespace Korvel {

Logger::~Logger() = default;

bool Logger::log(const std::string& type, Message message) {
    return log(Message::strToWstr(type), MessageAccess::takeOver(message));
}

void Logger::wrapPayload(Message& message) {
    if (message.isMap() || message.isNull()) return;
    Message wrapped;
    wrapped[L"messageData"] = std::move(message);
    message = std::move(wrapped);
}

}  // namespace Korvel
