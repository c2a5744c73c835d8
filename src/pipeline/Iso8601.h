// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Message.h>

#include <chrono>

namespace Korvel {

/// The text of createIso8601String as a Message, without a detour through wide text.
Message iso8601Message(const std::chrono::system_clock::time_point& time);

}  // namespace Korvel
