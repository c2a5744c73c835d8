// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "message/MessageAccess.h"

#include "message/MapNode.h"
#include "message/TextNode.h"
#include "message/VectorNode.h"

namespace Korvel {
const Detail::Value& MessageAccess::requireResolved(const Message& message, Type wanted) {
    const Message& resolved = resolve(message);
    if (type(resolved) != wanted) throw WrongTypeException();
    return resolved.value_;
}

std::size_t MessageAccess::footprint(const Message& message, std::size_t limit) noexcept {
    std::size_t size = 0;
    // Every level of recursion increases the size, so the limit also bounds the depth.
    const auto add = [&size, limit](const Message& child) {
        if (size < limit && !child.value_.isSelfContained()) size += footprint(child, limit - size);
    };
    const auto& payload = message.value_.plain.payload;
    switch (type(message)) {
    case Type::Text:
        return payload.text->size;
    case Type::WideText:
        return payload.wideText->capacity() * sizeof(wchar_t);
    case Type::Vector:
        size = sizeof(VectorNode) + payload.vector->elements.capacity() * sizeof(Message);
        if (size >= limit) return size;
        for (const Message& element : payload.vector->elements) add(element);
        return size;
    case Type::Map:
        size = payload.map->footprint(limit);
        if (size < limit) payload.map->forEachOwned(add);
        return size;
    default:
        return 0;
    }
}

}  // namespace Korvel
