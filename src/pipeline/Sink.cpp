// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Sink.h>

namespace Korvel {

Sink::~Sink() = default;

}  // namespace Korvel
