// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "support/NlohmannRequest.h"
#include "support/Shapes.h"

namespace Bench {

inline nlohmann::json nlohmannEntry() {
    nlohmann::json entry = nlohmannList(1);
    entry["timestamp"] = TIMESTAMP;
    entry["thread"] = THREAD;
    entry["message"] = "RequestHandled";
    return entry;
}

}  // namespace Bench
