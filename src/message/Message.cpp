#include <Korvel/Message.h>

#include "message/JsonWriter.h"
#include "message/MessageNodes.h"
#include "message/Utf.h"

#include <Korvel/WrongTypeException.h>

namespace Korvel {
namespace {

std::wstring wideKey(const std::string& key) {
    return Utf::decode(key);
}

std::wstring wideKey(std::wstring key) {
    return Utf::splitSupplementary(std::move(key));
}

template <class Entries>
std::map<std::wstring, Message> copyEntries(const Entries& source) {
    std::map<std::wstring, Message> entries;
    for (const auto& [key, value] : source) {
        entries[wideKey(key)] = value;
    }
    return entries;
}

/// The same from entries that are ours, whose values need no copy.
template <class Key>
std::map<std::wstring, Message> moveEntries(std::map<Key, Message>& source) {
    std::map<std::wstring, Message> entries;
    for (auto& [key, value] : source) {
        entries[wideKey(key)] = std::move(value);
    }
    return entries;
}

std::map<std::wstring, Message> withSplitKeys(std::map<std::wstring, Message> source) {
    for (const auto& entry : source) {
        if (Utf::hasSupplementaryElement(entry.first)) return moveEntries(source);
    }
    return source;
}

}  // namespace

Message::Message() noexcept = default;

Message::Message(std::int64_t value) noexcept : type_(Type::Integer) {
    slot_.integer = value;
}

Message::Message(float value) noexcept : Message(static_cast<double>(value)) {}

Message::Message(double value) noexcept : type_(Type::Double) {
    slot_.real = value;
}

Message::Message(const char* text) : Message(Utf::decode(text)) {}

Message::Message(const wchar_t* text) : Message(std::wstring(text)) {}

Message::Message(std::wstring&& text, Whole) {
    slot_.string = new std::wstring(Utf::splitSupplementary(std::move(text)));
    type_ = Type::String;
}

Message::Message(std::map<std::string, Message> entries) {
    slot_.map = new MapNode{moveEntries(entries)};
    type_ = Type::Map;
}

Message::Message(std::map<std::wstring, Message> entries) {
    slot_.map = new MapNode{withSplitKeys(std::move(entries))};
    type_ = Type::Map;
}

Message::Message(std::initializer_list<std::pair<std::string, Message>> entries) {
    slot_.map = new MapNode{copyEntries(entries)};
    type_ = Type::Map;
}

Message::Message(std::initializer_list<std::pair<std::wstring, Message>> entries) {
    slot_.map = new MapNode{copyEntries(entries)};
    type_ = Type::Map;
}

Message::Message(std::vector<Message> elements) {
    slot_.vector = new VectorNode{std::move(elements)};
    type_ = Type::Vector;
}

// Delegation makes the object complete first, so that the destructor frees what a failed copy
// leaves.
Message::Message(const Message& source) : Message() {
    copyFrom(source);
}

Message::Message(const Message&& source) : Message(source) {}

Message::Message(TakeOver, Message& source) noexcept {
    adopt(source);
}

Message::~Message() {
    reset();
}

Message& Message::operator=(const Message& source) {
    // The copy comes first: the source may be a part of the tree that goes.
    Message copy(source);
    reset();
    adopt(copy);
    return *this;
}

Message& Message::operator=(Message&& source) noexcept {
    // Taken out first, for the same reason.
    Message taken(TakeOver(), source);
    reset();
    adopt(taken);
    return *this;
}

/// Takes the value of `source` into this Null. What `source` owned it no longer owns; a scalar
/// without storage stays there as well.
void Message::adopt(Message& source) noexcept {
    type_ = source.type_;
    slot_ = source.slot_;
    if (source.isString() || source.isContainer()) {
        source.type_ = Type::Null;
        source.slot_ = {};
    }
}

bool Message::isNull() const noexcept {
    return type_ == Type::Null;
}

bool Message::isString() const noexcept {
    return type_ == Type::String;
}

bool Message::isBoolean() const noexcept {
    return type_ == Type::Boolean;
}

bool Message::isDouble() const noexcept {
    return type_ == Type::Double;
}

bool Message::isInteger() const noexcept {
    return type_ == Type::Integer;
}

bool Message::isVector() const noexcept {
    return type_ == Type::Vector;
}

bool Message::isMap() const noexcept {
    return type_ == Type::Map;
}

bool Message::isContainer() const noexcept {
    return isVector() || isMap();
}

bool Message::getBoolean() const {
    requireType(Type::Boolean);
    return slot_.boolean;
}

double Message::getDouble() const {
    requireType(Type::Double);
    return slot_.real;
}

std::int64_t Message::getInteger() const {
    requireType(Type::Integer);
    return slot_.integer;
}

std::wstring Message::getWstring() const {
    requireType(Type::String);
    return *slot_.string;
}

std::string Message::getString() const {
    requireType(Type::String);
    return Utf::encode(*slot_.string);
}

std::string Message::toJson(bool pretty, std::string indent) const {
    return JsonWriter(pretty, std::move(indent)).write(*this);
}

std::wstring Message::strToWstr(const std::string& text) {
    return Utf::decode(text);
}

std::string Message::wstrToStr(const std::wstring& text) {
    return Utf::encode(text);
}

void Message::requireType(Type wanted) const {
    if (type_ != wanted) throw WrongTypeException();
}

}  // namespace Korvel
