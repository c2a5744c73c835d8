// What a Message offers as a list and as a map.

#include "message/MessageNodes.h"
#include "message/text/Utf.h"

#include <stdexcept>
#include <utility>

namespace Korvel {
namespace {

template <class Value>
Value& existing(Value* value) {
    if (value == nullptr) throw std::out_of_range("invalid map<K, T> key");
    return *value;
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

/// The value at a PackedKey.
Message& Message::element(std::uint64_t head, std::uint64_t tail) {
    return mapToExtend().anchor(FlatKey({head, tail}));
}

// A key that cannot be converted fails before anything is changed.
Message& Message::element(std::string_view key) {
    if (const auto flatKey = FlatKey::of(key)) return mapToExtend().anchor(*flatKey);
    std::wstring wideKey = Utf::decode(key);
    return mapToExtend().placeInTree(std::move(wideKey));
}

Message& Message::element(std::wstring_view key) {
    if (const auto flatKey = FlatKey::of(key)) return mapToExtend().anchor(*flatKey);
    return mapToExtend().placeInTree(Utf::splitSupplementary(key));
}

/// This Map, or the one that this Null becomes.
MapNode& Message::mapToExtend() {
    constexpr std::size_t USUAL_SIZE = 4;
    if (isNull()) return becomeFlatMap(USUAL_SIZE);
    requireType(Type::Map);
    return *value_.plain.slot.map;
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
    return existing(value_.plain.slot.map->find(key));
}

const Message& Message::at(std::wstring key) const {
    requireType(Type::Map);
    return existing(std::as_const(*value_.plain.slot.map).find(key));
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
