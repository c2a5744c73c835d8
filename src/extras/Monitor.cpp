// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/Monitor.h>

#include "extras/MonitorState.h"

#include <Korvel/Functions.h>

#include <utility>

namespace Korvel::Extras {

Monitor::Monitor(std::shared_ptr<SinkHandler> handler, MonitorOptions options)
    : state_(std::make_unique<MonitorState>(std::move(handler), std::move(options))) {}

Monitor::~Monitor() = default;

bool Monitor::log(const std::wstring& type, Message message) {
    return state_->log(type, message, MonitorState::Place::None);
}

void Monitor::flush() {
    state_->flush();
}

MonitorSnapshot Monitor::snapshot() const {
    return state_->snapshot();
}

void Monitor::stopWatching() {
    state_->stopWatching();
}

Message toMessage(const MonitorSnapshot& snapshot) {
    Message failed = std::map<std::string, Message>();
    for (const auto& [name, count] : snapshot.failed) failed[name] = count;
    Message lastDelivery;
    if (snapshot.lastDelivery) lastDelivery = createIso8601String(*snapshot.lastDelivery);
    return {{"accepted", snapshot.accepted},
            {"refused", snapshot.refused},
            {"delivered", snapshot.delivered},
            {"waiting", snapshot.waiting},
            {"lost", snapshot.lost},
            {"highestWaiting", snapshot.highestWaiting},
            {"oldestWaitingMs", static_cast<std::int64_t>(snapshot.oldestWaiting.count())},
            {"lastDelivery", lastDelivery},
            {"restarts", snapshot.restarts},
            {"workerAlive", snapshot.workerAlive},
            {"failed", failed}};
}

}  // namespace Korvel::Extras
