#pragma once

#include <Korvel/Message.h>

#include <vector>

namespace Korvel {

/// What a Vector owns.
struct VectorNode {
    std::vector<Message> elements;
    /// Links the containers that wait for destruction, which must neither recurse nor allocate.
    VectorNode* next = nullptr;
};

}  // namespace Korvel
