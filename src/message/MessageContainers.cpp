// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

// The list and map operations of Message.

#include <Korvel/Message.h>

#include "message/MapNode.h"
#include "message/MessageAccess.h"
#include "message/VectorNode.h"
#include "message/text/Utf.h"

#include <utility>

namespace Korvel {
namespace {

using Detail::Type;

MapNode& mapOf(const Message& message) {
    return *MessageAccess::require(message, Type::Map).plain.payload.map;
}

std::vector<Message>& elementsOf(const Message& message) {
    return MessageAccess::require(message, Type::Vector).plain.payload.vector->elements;
}

/// A narrow key that cannot be converted fails before the type is checked.
void check(std::string_view key) {
    if (!Utf::isWellFormed(key)) (void)Utf::decode(key);
}

void check(std::wstring_view) {}

/// Returns the value at `key` of a Message that is not a direct Map: a Null becomes a Map only
/// after the key has been inserted; an alias is resolved. Out of line, because it is rarely needed.
template <class View>
[[gnu::noinline]] Message& firstElement(Message& message, View key) {
    constexpr std::size_t USUAL_SIZE = 8;
    if (!message.isNull()) {
        check(key);
        return mapOf(message).element(key);
    }
    Message made;
    MapNode* const map = MapNode::create(USUAL_SIZE);
    MessageAccess::value(made).plain = {Type::Map, {.map = map}};
    Message& element = map->element(key);
    message = std::move(made);
    return element;
}

template <class View>
Message& elementOf(Message& message, View key) {
    if (MessageAccess::type(message) != Type::Map) return firstElement(message, key);
    return MessageAccess::value(message).plain.payload.map->element(key);
}

template <class View>
const Message* findIn(const Message& message, View key) {
    if (MessageAccess::type(message) != Type::Map) check(key);
    return mapOf(message).find(key);
}

}  // namespace

const std::map<std::wstring, Message>& Message::getMap() const {
    return mapOf(*this).shownMap();
}

const std::vector<Message>& Message::getVector() const {
    return elementsOf(*this);
}

Message& Message::element(std::string_view key) {
    return elementOf(*this, key);
}

Message& Message::element(std::wstring_view key) {
    return elementOf(*this, key);
}

const Message* Message::find(std::string_view key) const {
    return findIn(*this, key);
}

const Message* Message::find(std::wstring_view key) const {
    return findIn(*this, key);
}

void Message::visit(Visitor visitor, void* target) const {
    const MapNode& map = mapOf(*this);
    if (!map.isIndexedBySlots()) {
        for (const auto& [key, value] : map.shownMap()) {
            visitor(target, key, MessageAccess::resolve(value));
        }
        return;
    }
    for (std::size_t i = 0; i < map.size(); ++i) {
        wchar_t units[TextBlock::SIZE];
        visitor(target, map.slotAt(i).key.wide(units), map.slotAt(i).value);
    }
}

Message& Message::operator[](std::size_t position) {
    return elementsOf(*this)[position];
}

const Message& Message::operator[](std::size_t position) const {
    return elementsOf(*this)[position];
}

std::size_t Message::size() const {
    const Value& value = MessageAccess::value(MessageAccess::resolve(*this));
    switch (value.type()) {
    case Type::Null:
        return 0;
    case Type::Vector:
        return value.plain.payload.vector->elements.size();
    case Type::Map:
        return value.plain.payload.map->size();
    default:
        return 1;
    }
}

void Message::push_back(const Message& element) {
    std::vector<Message>& elements = elementsOf(*this);
    // Copied first: the element may be this Message or live in the storage that is reallocated.
    Message copy(element);
    if (elements.size() == elements.capacity()) {
        // std::vector would copy every tree when it grows, because Message has no move constructor.
        std::vector<Message> larger;
        larger.reserve(elements.size() + elements.size() / 2 + 4);
        for (Message& kept : elements) larger.emplace_back() = std::move(kept);
        elements.swap(larger);
    }
    elements.emplace_back() = std::move(copy);
}

void Message::push_back(Message&& element) {
    push_back(element);
}

}  // namespace Korvel
