// The operations on whole trees. None of them recurses, so that depth costs memory and not stack.

#include "message/MessageNodes.h"

namespace Korvel {

/// The containers that are still to be destroyed. Taking a Message in makes it Null, so the
/// destructors of elements and entries never find a container of their own.
struct Message::Teardown {
    VectorNode* vectors = nullptr;
    MapNode* maps = nullptr;

    void take(Message& message) noexcept {
        if (message.type() == Type::Vector) {
            message.value_.plain.slot.vector->next = vectors;
            vectors = message.value_.plain.slot.vector;
            message.become(Type::Null, {});
        } else if (message.type() == Type::Map) {
            message.value_.plain.slot.map->next = maps;
            maps = message.value_.plain.slot.map;
            message.become(Type::Null, {});
        }
    }

    void destroyVector() noexcept {
        VectorNode* const node = vectors;
        vectors = node->next;
        for (Message& element : node->elements) take(element);
        delete node;
    }

    void destroyMap() noexcept {
        MapNode* const node = maps;
        maps = node->next;
        for (auto& entry : node->entries) take(entry.second);
        delete node;
    }
};

void Message::reset() noexcept {
    if (type() == Type::Text) {
        TextNode::destroy(value_.plain.slot.text);
    } else if (type() == Type::WideText) {
        delete value_.plain.slot.wideText;
    } else if (isContainer()) {
        Teardown teardown;
        teardown.take(*this);
        while (teardown.vectors != nullptr || teardown.maps != nullptr) {
            if (teardown.vectors != nullptr) teardown.destroyVector();
            if (teardown.maps != nullptr) teardown.destroyMap();
        }
    }
    become(Type::Null, {});
}

void Message::copyFrom(const Message& source) {
    copyValue(source);
    if (!isContainer()) return;
    OpenCopies open;
    copyChildren(source, open);
    while (!open.empty()) {
        const auto [from, to] = open.back();
        open.pop_back();
        to->copyChildren(*from, open);
    }
}

/// Copies a scalar, and begins a container as an empty one. This Message must be Null.
void Message::copyValue(const Message& source) {
    switch (source.type()) {
    case Type::Text:
    case Type::WideText:
        copyText(source);
        break;
    case Type::Vector:
        become(Type::Vector, {.vector = new VectorNode()});
        break;
    case Type::Map:
        becomeMap();
        break;
    default:
        value_ = source.value_;
    }
}

/// Fills this empty container with the children of `source`, of the same type. Containers among
/// them begin empty and go to `open`.
void Message::copyChildren(const Message& source, OpenCopies& open) {
    const auto copyChild = [&open](const Message& from, Message& to) {
        to.copyValue(from);
        if (to.isContainer()) open.emplace_back(&from, &to);
    };
    if (isVector()) {
        const auto& from = source.value_.plain.slot.vector->elements;
        auto& to = value_.plain.slot.vector->elements;
        to.resize(from.size());
        for (std::size_t i = 0; i < from.size(); ++i) copyChild(from[i], to[i]);
    } else {
        auto& to = value_.plain.slot.map->entries;
        for (const auto& [key, value] : source.value_.plain.slot.map->entries) {
            copyChild(value, to.try_emplace(to.end(), key)->second);
        }
    }
}

}  // namespace Korvel
