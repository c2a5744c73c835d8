// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extender.h>

#include "message/MessageAccess.h"

#include <Korvel/WrongKeyException.h>

namespace Korvel {

Extender::Extender(std::shared_ptr<Logger> logger, std::wstring key,
                   std::function<Message(const Message&)> getter)
    : logger_(std::move(logger)), key_(std::move(key)), getter_(std::move(getter)) {
    if (key_.empty() || key_ == L"message") throw WrongKeyException();
}

Extender::~Extender() = default;

bool Extender::log(const std::wstring& type, Message message) {
    wrapPayload(message);
    Message value = getter_(message);
    message[key_] = std::move(value);
    return logger_->log(type, MessageAccess::takeOver(message));
}

void Extender::flush() {
    logger_->flush();
}

}  // namespace Korvel
