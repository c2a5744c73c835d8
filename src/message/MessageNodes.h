#pragma once

#include <Korvel/Message.h>

namespace Korvel {

/// A text in UTF-8, in one piece of storage with its size: the bytes stand behind this header.
struct Message::TextNode {
    std::size_t size;

    static TextNode* create(std::size_t size);
    static void destroy(TextNode* node) noexcept;

    char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
    const char* bytes() const noexcept { return reinterpret_cast<const char*>(this + 1); }
};

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
