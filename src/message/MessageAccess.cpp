#include "message/MessageAccess.h"

#include "message/MessageNodes.h"

#include <utility>

namespace Korvel {

void MessageAccess::set(Message& map, std::wstring_view key, Message&& value) {
    map.mapToExtend().place(key) = std::move(value);
}

void MessageAccess::prefetch(const Message& message) noexcept {
    if (message.isMap()) message.value_.plain.slot.map->prefetch();
}

std::size_t MessageAccess::footprint(const Message& message, std::size_t limit) noexcept {
    std::size_t size = 0;
    if (message.type() == Message::Type::Text) {
        size = message.narrowText().size();
    } else if (message.type() == Message::Type::WideText) {
        size = message.wideText().size() * sizeof(wchar_t);
    } else if (message.isVector()) {
        for (const Message& element : message.value_.plain.slot.vector->elements) {
            if (size >= limit) break;
            size += sizeof(Message) + footprint(element, limit - size);
        }
    } else if (message.isMap()) {
        const MapNode& node = *message.value_.plain.slot.map;
        for (const MapNode::Entry& entry : node.flat()) {
            if (size >= limit) break;
            size += sizeof entry + footprint(entry.value.shown(), limit - size);
        }
    }
    return size;
}

}  // namespace Korvel
