#pragma once

#include <Korvel/Message.h>

namespace Korvel {

/// What a Vector or Map owns. The link serves the destruction of a tree, which must neither recurse
/// nor allocate.
struct Message::VectorNode {
    std::vector<Message> elements;
    VectorNode* next = nullptr;
};

struct Message::MapNode {
    std::map<std::wstring, Message> entries;
    MapNode* next = nullptr;
};

}  // namespace Korvel
