// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "support/Request.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Bench {

/// The payload of one request as an initializer list.
inline nlohmann::json nlohmannList(unsigned number) {
    return {{"method", "GET"},  {"path", "/api/v1/orders/" + std::to_string(number)},
            {"status", STATUS}, {"durationMs", durationOf(number)},
            {"bytes", BYTES},   {"user", "Zoë Müller"},
            {"ok", true},       {"tags", {"api", "orders"}}};
}

/// The same payload, key by key.
inline nlohmann::json nlohmannKeys(unsigned number) {
    nlohmann::json payload;
    payload["method"] = "GET";
    payload["path"] = "/api/v1/orders/" + std::to_string(number);
    payload["status"] = STATUS;
    payload["durationMs"] = durationOf(number);
    payload["bytes"] = BYTES;
    payload["user"] = "Zoë Müller";
    payload["ok"] = true;
    payload["tags"] = {"api", "orders"};
    return payload;
}

}  // namespace Bench
