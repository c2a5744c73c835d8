// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Message.h>

#include "message/JsonWriter.h"
#include "message/MapNode.h"
#include "message/MessageAccess.h"
#include "message/MessageTree.h"
#include "message/VectorNode.h"
#include "message/text/TextBuffer.h"
#include "message/text/Utf.h"

#include <algorithm>

namespace Korvel {
namespace {

using Detail::Type;
using Detail::Value;

/// Turns a Null into a Map of entries. Moves their values, or copies them if they are const.
template <class Entries>
void makeMap(Value& value, Entries& entries) {
    MapNode* const map = MapNode::create(entries.size());
    value.plain = {Type::Map, {.map = map}};
    for (auto& [key, element] : entries) map->element(key) = std::move(element);
}

/// Whether a Map takes over the map itself: the slots cannot hold all entries, and no key must be
/// split.
bool isAdopted(const std::map<std::wstring, Message>& entries) {
    const auto isShort = [](const auto& entry) {
        return ShortKey::of(std::wstring_view(entry.first)).has_value();
    };
    const auto isWhole = [](const auto& entry) {
        return !Utf::hasSupplementaryElement(entry.first);
    };
    const bool fits = entries.size() <= MapNode::MAX_SLOTS &&
                      std::all_of(entries.begin(), entries.end(), isShort);
    return !fits && std::all_of(entries.begin(), entries.end(), isWhole);
}

}  // namespace

// Constructors delegate, so the object is complete and its destructor cleans up after a failure.

Message::Message(std::map<std::string, Message> entries) : Message() {
    makeMap(value_, entries);
}

Message::Message(std::map<std::wstring, Message> entries) : Message() {
    if (isAdopted(entries)) {
        value_.plain = {Type::Map, {.map = MapNode::create(std::move(entries))}};
    } else {
        makeMap(value_, entries);
    }
}

Message::Message(std::initializer_list<std::pair<std::string, Message>> entries) : Message() {
    makeMap(value_, entries);
}

Message::Message(WideKeys, std::initializer_list<std::pair<std::wstring, Message>> entries)
    : Message() {
    makeMap(value_, entries);
}

Message::Message(std::vector<Message> elements) : Message() {
    value_.plain = {Type::Vector, {.vector = new VectorNode{std::move(elements)}}};
}

Message::Message(const Message& source) : Message() {
    if (source.value_.isSelfContained()) {
        value_ = source.value_;
    } else {
        MessageTree::copy(source, *this);
    }
}

Message::Message(const Message&& source) : Message(source) {}

Message& Message::operator=(const Message& source) {
    if (source.value_.isSelfContained() && value_.isSelfContained()) {
        value_ = source.value_;
        return *this;
    }
    // Copied first: the source may be part of the tree that is destroyed.
    Message copy(source);
    return *this = std::move(copy);
}

/// Replaces a value that is not self-contained. An alias replaces its target.
void Message::replace(const Value& taken) noexcept {
    Message& target = MessageAccess::resolve(*this);
    const Value old = target.value_;
    target.value_ = taken;
    if (!old.isSelfContained()) MessageTree::destroy(old);
}

/// Frees what this Message owns. An alias owns nothing.
void Message::reset() noexcept {
    if (value_.type() != Type::Alias) MessageTree::destroy(value_);
    value_.plain = {Type::Null, {}};
}

bool Message::isNull() const noexcept {
    return MessageAccess::resolvedType(*this) == Type::Null;
}

bool Message::isString() const noexcept {
    const Type type = MessageAccess::resolvedType(*this);
    return type >= Type::ShortText && type <= Type::WideText;
}

bool Message::isBoolean() const noexcept {
    return MessageAccess::resolvedType(*this) == Type::Boolean;
}

bool Message::isDouble() const noexcept {
    return MessageAccess::resolvedType(*this) == Type::Double;
}

bool Message::isInteger() const noexcept {
    return MessageAccess::resolvedType(*this) == Type::Integer;
}

bool Message::isVector() const noexcept {
    return MessageAccess::resolvedType(*this) == Type::Vector;
}

bool Message::isMap() const noexcept {
    return MessageAccess::resolvedType(*this) == Type::Map;
}

bool Message::getBoolean() const {
    return MessageAccess::require(*this, Type::Boolean).plain.payload.boolean;
}

double Message::getDouble() const {
    return MessageAccess::require(*this, Type::Double).plain.payload.real;
}

std::int64_t Message::getInteger() const {
    return MessageAccess::require(*this, Type::Integer).plain.payload.integer;
}

std::string Message::toJson(bool pretty, std::string indent) const {
    TextBuffer text;
    JsonWriter(text, pretty, std::move(indent)).write(*this);
    return std::string(text.view());
}

}  // namespace Korvel
