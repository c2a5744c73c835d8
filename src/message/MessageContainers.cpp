// What a Message offers as a list and as a map.

#include "message/MessageNodes.h"
#include "message/Utf.h"

#include <stdexcept>

namespace Korvel {
namespace {

template <class Map>
auto& existing(Map& entries, const std::wstring& key) {
    const auto entry = entries.find(key);
    if (entry == entries.end()) throw std::out_of_range("invalid map<K, T> key");
    return entry->second;
}

}  // namespace

const std::map<std::wstring, Message>& Message::getMap() const {
    requireType(Type::Map);
    const MapNode& node = *value_.plain.slot.map;
    return node.tree();
}

const std::vector<Message>& Message::getVector() const {
    requireType(Type::Vector);
    return value_.plain.slot.vector->elements;
}

Message& Message::operator[](const std::string& key) {
    return element(key);
}

Message& Message::operator[](const std::wstring& key) {
    return element(key);
}

Message& Message::element(std::string_view key) {
    return elementAt(Utf::decode(key));
}

Message& Message::element(std::wstring_view key) {
    return elementAt(Utf::splitSupplementary(key));
}

/// The value at a key that is already in its final form.
Message& Message::elementAt(std::wstring key) {
    if (isNull()) becomeMap({});
    requireType(Type::Map);
    return value_.plain.slot.map->placeInTree(std::move(key));
}

/// What operator[] and an assignment do, at less cost, because no reference gets out. Takes a Null
/// or a Map.
void Message::set(std::wstring_view key, Message&& value) {
    if (isNull()) becomeFlatMap(1);
    value_.plain.slot.map->place(key) = std::move(value);
}

Message& Message::operator[](std::size_t position) {
    requireType(Type::Vector);
    return value_.plain.slot.vector->elements[position];
}

const Message& Message::operator[](std::size_t position) const {
    requireType(Type::Vector);
    return value_.plain.slot.vector->elements[position];
}

Message& Message::at(std::string key) {
    return at(Utf::decode(key));
}

const Message& Message::at(std::string key) const {
    return at(Utf::decode(key));
}

Message& Message::at(std::wstring key) {
    requireType(Type::Map);
    return existing(value_.plain.slot.map->sharedTree(), Utf::splitSupplementary(key));
}

const Message& Message::at(std::wstring key) const {
    return existing(getMap(), Utf::splitSupplementary(key));
}

bool Message::hasKey(const std::string& key) const {
    return hasKey(Utf::decode(key));
}

bool Message::hasKey(const std::wstring& key) const {
    requireType(Type::Map);
    return value_.plain.slot.map->contains(key);
}

std::size_t Message::size() {
    switch (type()) {
    case Type::Null:
        return 0;
    case Type::Vector:
        return value_.plain.slot.vector->elements.size();
    case Type::Map:
        return value_.plain.slot.map->size();
    default:
        return 1;
    }
}

void Message::push_back(const Message& element) {
    requireType(Type::Vector);
    // The copy comes first: the element may be this Message or stand in the storage that grows.
    Message copy(element);
    auto& elements = value_.plain.slot.vector->elements;
    if (elements.size() == elements.capacity()) {
        // The vector itself would copy every tree that it holds.
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
