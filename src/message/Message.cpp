#include <Korvel/Message.h>

#include "message/JsonWriter.h"
#include "message/MessageNodes.h"
#include "message/text/TextBuffer.h"
#include "message/text/Utf.h"

#include <Korvel/WrongTypeException.h>

#include <algorithm>

namespace Korvel {
namespace {

std::map<std::wstring, Message> withSplitKeys(std::map<std::wstring, Message> source) {
    const auto isSplit = [](const auto& entry) {
        return !Utf::hasSupplementaryElement(entry.first);
    };
    if (std::all_of(source.begin(), source.end(), isSplit)) return source;
    std::map<std::wstring, Message> entries;
    for (auto& [key, value] : source) {
        entries[Utf::splitSupplementary(key)] = std::move(value);
    }
    return entries;
}

}  // namespace

Message::Message(std::map<std::string, Message> entries) : Message() {
    MapNode& node = becomeFlatMap(entries.size());
    for (auto& [key, value] : entries) node.place(std::string_view(key)) = std::move(value);
}

Message::Message(std::map<std::wstring, Message> entries) : Message() {
    becomeMap(withSplitKeys(std::move(entries)));
}

Message::Message(std::initializer_list<std::pair<std::string, Message>> entries) : Message() {
    MapNode& node = becomeFlatMap(entries.size());
    for (const auto& [key, value] : entries) node.place(std::string_view(key)) = value;
}

Message::Message(WideKeys, std::initializer_list<std::pair<std::wstring, Message>> entries)
    : Message() {
    MapNode& node = becomeFlatMap(entries.size());
    for (const auto& [key, value] : entries) node.place(std::wstring_view(key)) = value;
}

Message::Message(std::vector<Message> elements) : Message() {
    becomeVector(std::move(elements));
}

// Delegation makes the object complete first, here and above, so that the destructor frees what a
// failure leaves.
Message::Message(const Message& source) : Message() {
    if (source.ownsStorage()) {
        copyFrom(source);
    } else {
        value_ = source.value_;
    }
}

Message::Message(const Message&& source) : Message(source) {}

Message& Message::operator=(const Message& source) {
    if (!source.ownsStorage()) {
        const Value copy = source.value_;
        if (ownsStorage()) reset();
        value_ = copy;
        return *this;
    }
    // The copy comes first: the source may be a part of the tree that goes.
    Message copy(source);
    return *this = std::move(copy);
}

void Message::becomeVector(std::vector<Message> elements) {
    become(Type::Vector, {.vector = new VectorNode{std::move(elements)}});
}

void Message::becomeMap(std::map<std::wstring, Message> entries) {
    become(Type::Map, {.map = MapNode::create(std::move(entries))});
}

/// With room for `size` entries and a few more.
MapNode& Message::becomeFlatMap(std::size_t size) {
    become(Type::Map, {.map = MapNode::create(size)});
    return *value_.plain.slot.map;
}

bool Message::isNull() const noexcept {
    return type() == Type::Null;
}

bool Message::isString() const noexcept {
    return type() >= Type::ShortText && type() <= Type::WideText;
}

bool Message::isBoolean() const noexcept {
    return type() == Type::Boolean;
}

bool Message::isDouble() const noexcept {
    return type() == Type::Double;
}

bool Message::isInteger() const noexcept {
    return type() == Type::Integer;
}

bool Message::isVector() const noexcept {
    return type() == Type::Vector;
}

bool Message::isMap() const noexcept {
    return type() == Type::Map;
}

bool Message::getBoolean() const {
    requireType(Type::Boolean);
    return value_.plain.slot.boolean;
}

double Message::getDouble() const {
    requireType(Type::Double);
    return value_.plain.slot.real;
}

std::int64_t Message::getInteger() const {
    requireType(Type::Integer);
    return value_.plain.slot.integer;
}

std::string Message::toJson(bool pretty, std::string indent) const {
    TextBuffer text;
    JsonWriter(text, pretty, std::move(indent)).write(*this);
    return std::string(text.view());
}

void Message::requireType(Type wanted) const {
    if (type() != wanted) throw WrongTypeException();
}

}  // namespace Korvel
