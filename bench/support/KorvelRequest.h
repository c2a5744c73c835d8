// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "support/Request.h"

#include <Korvel/Message.h>

#include <string>
#include <vector>

namespace Bench {

/// The payload of one request as an initializer list of narrow text.
inline Korvel::Message korvelList(unsigned number) {
    return {{"method", "GET"},  {"path", "/api/v1/orders/" + std::to_string(number)},
            {"status", STATUS}, {"durationMs", durationOf(number)},
            {"bytes", BYTES},   {"user", "Zoë Müller"},
            {"ok", true},       {"tags", std::vector<Korvel::Message>{"api", "orders"}}};
}

/// The same payload, key by key and with wide text.
inline Korvel::Message korvelKeys(unsigned number) {
    Korvel::Message payload;
    payload[L"method"] = L"GET";
    payload[L"path"] = L"/api/v1/orders/" + std::to_wstring(number);
    payload[L"status"] = STATUS;
    payload[L"durationMs"] = durationOf(number);
    payload[L"bytes"] = BYTES;
    payload[L"user"] = L"Zoë Müller";
    payload[L"ok"] = true;
    payload[L"tags"] = std::vector<Korvel::Message>{L"api", L"orders"};
    return payload;
}

}  // namespace Bench
