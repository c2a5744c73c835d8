// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Message.h>

#include <vector>

namespace Korvel {

/// The storage of a Vector.
struct VectorNode {
    std::vector<Message> elements;
    /// Links containers awaiting destruction, which must neither recurse nor allocate.
    VectorNode* next = nullptr;
};

}  // namespace Korvel
