// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/Context.h>

#include "extras/TakeOver.h"

#include <Korvel/WrongTypeException.h>

#include <cassert>
#include <string>
#include <string_view>
#include <utility>

namespace Korvel::Extras {
namespace {

/// The innermost visible scope of this thread. It is defined here, not in a header, so all modules
/// of a process share it, and it is trivially destructible, because a destructor that runs at
/// thread exit would keep the library from being unloaded.
thread_local const Context* innermost = nullptr;

}  // namespace

class ContextExtender : public Logger {
public:
    explicit ContextExtender(std::shared_ptr<Logger> logger) : logger_(std::move(logger)) {}

    using Logger::log;

    bool log(const std::wstring& type, Message message) override {
        if (innermost != nullptr) {
            wrapPayload(message);
            Context::addTo(message);
        }
        return logger_->log(type, takeOver(message));
    }

    void flush() override { logger_->flush(); }

private:
    const std::shared_ptr<Logger> logger_;
};

Context::Context(Message keys) : outer_(innermost) {
    if (!keys.isMap() && !keys.isNull()) throw WrongTypeException();
    keys_ = std::move(keys);
    innermost = this;
}

Context::~Context() {
    assert(innermost == this && "scopes end on their thread, the inner ones first");
    innermost = outer_;
}

Message Context::capture() {
    Message keys;
    addTo(keys);
    return keys;
}

/// Goes from the inside out and keeps what is there, so the entry wins, then the inner scope.
void Context::addTo(Message& payload) {
    for (const Context* scope = innermost; scope != nullptr; scope = scope->outer_) {
        if (scope->keys_.isNull()) continue;
        scope->keys_.forEach([&payload](std::wstring_view key, const Message& value) {
            if (payload.isNull() || !payload.hasKey(key)) payload[key] = value;
        });
    }
}

ContextSuspension::ContextSuspension() noexcept : hidden_(std::exchange(innermost, nullptr)) {}

ContextSuspension::~ContextSuspension() {
    assert(innermost == nullptr && "scopes end on their thread, the inner ones first");
    innermost = hidden_;
}

std::shared_ptr<Logger> createContextExtender(std::shared_ptr<Logger> logger) {
    return std::make_shared<ContextExtender>(std::move(logger));
}

}  // namespace Korvel::Extras
