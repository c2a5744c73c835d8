// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Message.h>

#include <utility>

namespace Korvel::Extras {

/// Moves the value out of `source`, for a parameter that takes a Message by value: construction
/// from a temporary copies, but move assignment does not, and compilers create the result in place.
inline Message takeOver(Message& source) {
    Message taken;
    taken = std::move(source);
    return taken;
}

}  // namespace Korvel::Extras
