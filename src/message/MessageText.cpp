// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "message/MessageText.h"

#include "message/MessageAccess.h"
#include "message/text/TextBlock.h"
#include "message/text/Utf.h"

#include <Korvel/Message.h>

#include <stdexcept>

namespace Korvel {
namespace {

using Detail::Type;
using Detail::Value;

/// Turns a Null into a text of `size` bytes, which the caller fills in.
char* make(Value& value, std::size_t size) {
    if (size <= Detail::Short::CAPACITY) {
        const auto base = static_cast<std::size_t>(Type::ShortText);
        value.brief = {static_cast<Type>(base + size), {}};
        return value.brief.bytes;
    }
    value.plain = {Type::Text, {.text = TextNode::create(size)}};
    return value.plain.payload.text->bytes();
}

void makeWide(Value& value, std::wstring text) {
    value.plain = {Type::WideText, {.wideText = new std::wstring(std::move(text))}};
}

void storeUnits(Value& value, std::wstring_view text) {
    // The fast path for most texts. If it fails, it leaves a wrong text, which is then replaced.
    if (text.size() <= Detail::Short::CAPACITY &&
        TextBlock::tryNarrow(make(value, text.size()), text.data(), text.size())) {
        return;
    }
    const std::size_t size = Utf::exactSize(text);
    if (size == Utf::NOT_EXACT) return makeWide(value, Utf::splitSupplementary(text));
    Utf::encodeExact(make(value, size), text);
}

/// The text up to its first NUL.
template <class Unit>
std::basic_string_view<Unit> viewOf(const Unit* text) {
    if (text == nullptr) throw std::logic_error("Message from a null text pointer");
    return text;
}

const Value& requireString(const Message& message) {
    if (!message.isString()) throw WrongTypeException();
    return MessageAccess::value(MessageAccess::resolve(message));
}

}  // namespace

void MessageText::copy(const Value& source, Value& copy) {
    if (source.type() == Type::WideText) return makeWide(copy, *source.plain.payload.wideText);
    const std::string_view text = MessageText::narrow(source);
    text.copy(make(copy, text.size()), text.size());
}

// Constructors delegate, so the object is complete and its destructor cleans up after a failure.

Message::Message(const char* text) : Message() {
    const std::string_view bytes = viewOf(text);
    if (bytes.size() < TextBlock::SIZE) {
        // The fast path for most texts, which may also leave a wrong text.
        bytes.copy(make(value_, bytes.size()), bytes.size());
        if (TextBlock::isAscii(MessageText::shortBlock(value_))) return;
    }
    if (Utf::isWellFormed(bytes)) {
        bytes.copy(make(value_, bytes.size()), bytes.size());
    } else {
        // Obsolete forms of UTF-8 that are accepted nevertheless.
        storeUnits(value_, Utf::decode(bytes));
    }
}

Message::Message(const wchar_t* text) : Message(viewOf(text), Whole()) {}

Message::Message(std::wstring_view text, Whole) : Message() {
    storeUnits(value_, text);
}

std::wstring Message::getWstring() const {
    const Value& value = requireString(*this);
    if (value.type() == Type::WideText) return *value.plain.payload.wideText;
    return Utf::decode(MessageText::narrow(value));
}

std::string Message::getString() const {
    const Value& value = requireString(*this);
    if (value.type() == Type::WideText) return Utf::encode(*value.plain.payload.wideText);
    return std::string(MessageText::narrow(value));
}

std::wstring Message::strToWstr(const std::string& text) {
    return Utf::decode(text);
}

std::string Message::wstrToStr(const std::wstring& text) {
    return Utf::encode(text);
}

}  // namespace Korvel
