// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/SeverityLogger.h>

#include "extras/TakeOver.h"

#include <Korvel/Extras/ToMessage.h>

#include <exception>
#include <string>

namespace Korvel::Extras {
namespace {

/// Makes the rule of all loggers for payloads callable here.
struct PayloadRule : Logger {
    using Logger::wrapPayload;
};

}  // namespace

SeverityLogger::SeverityLogger(std::shared_ptr<Logger> logger, Severity least)
    : SeverityLogger(std::move(logger), std::make_shared<SeverityThreshold>(least)) {}

SeverityLogger::SeverityLogger(std::shared_ptr<Logger> logger,
                               std::shared_ptr<SeverityThreshold> threshold)
    : logger_(std::move(logger)), threshold_(std::move(threshold)) {}

SeverityLogger SeverityLogger::withThreshold(Severity least) const {
    SeverityLogger result = *this;
    result.threshold_ = std::make_shared<SeverityThreshold>(least);
    return result;
}

SeverityLogger SeverityLogger::withLocation(bool hasLocation) const {
    SeverityLogger result = *this;
    result.hasLocation_ = hasLocation;
    return result;
}

bool SeverityLogger::write(Severity severity, const EventType& type, Message& payload) const {
    PayloadRule::wrapPayload(payload);
    payload["severity"] = std::string(severityName(severity));
    if (hasLocation_ && !payload.hasKey("source")) {
        Message& source = payload["source"];
        source["file"] = toMessage(type.file_);
        source["line"] = type.line_;
        source["function"] = toMessage(type.function_);
    }
    if (type.wide_.data() != nullptr) {
        return logger_->log(std::wstring(type.wide_), takeOver(payload));
    }
    return logger_->log(std::string(type.narrow_), takeOver(payload));
}

bool SeverityLogger::writeLazy(Severity severity, const EventType& type, Message (*make)(void*),
                               void* target) const {
    Message payload;
    try {
        payload = make(target);
    } catch (const std::exception& error) {
        payload["payloadError"] = toMessage(error.what());
    } catch (...) {
        payload["payloadError"] = "unknown exception";
    }
    return write(severity, type, payload);
}

}  // namespace Korvel::Extras
