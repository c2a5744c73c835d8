// How a Message keeps a text. Narrow text goes in and JSON comes out more often than anything reads
// units, so every text that UTF-8 can tell is kept in UTF-8.

#include "message/MessageNodes.h"
#include "message/text/TextBlock.h"
#include "message/text/Utf.h"

#include <Korvel/WrongTypeException.h>

#include <cstring>
#include <new>
#include <stdexcept>

namespace Korvel {
namespace {

/// The text up to its first NUL.
template <class Unit>
std::basic_string_view<Unit> viewOf(const Unit* text) {
    if (text == nullptr) throw std::logic_error("Message from a null text pointer");
    return text;
}

}  // namespace

TextNode* TextNode::create(std::size_t size) {
    return new (::operator new(sizeof(TextNode) + size)) TextNode{size};
}

void TextNode::destroy(TextNode* node) noexcept {
    ::operator delete(node);
}

Message::Message(const char* text) : Message() {
    const std::string_view bytes = viewOf(text);
    if (bytes.size() < TextBlock::SIZE) {
        // The quick way for most, which may leave a wrong text for the others to replace.
        bytes.copy(makeText(bytes.size()), bytes.size());
        if (TextBlock::isAscii(shortBlock())) return;
    }
    if (Utf::isWellFormed(bytes)) {
        bytes.copy(makeText(bytes.size()), bytes.size());
    } else {
        // Forms that are read though they are no UTF-8 of today.
        storeUnits(Utf::decode(bytes));
    }
}

Message::Message(const wchar_t* text) : Message(viewOf(text), Whole()) {}

Message::Message(std::wstring_view text, Whole) : Message() {
    storeUnits(text);
}

/// Makes this Null a text.
void Message::storeUnits(std::wstring_view text) {
    if (storeShortAscii(text)) return;
    const std::size_t size = Utf::exactSize(text);
    if (size != Utf::NOT_EXACT) {
        Utf::encodeExact(makeText(size), text);
    } else {
        become(Type::WideText, {.wideText = new std::wstring(Utf::splitSupplementary(text))});
    }
}

/// The quick way for most. Leaves a wrong text for others to replace where it is not ASCII.
bool Message::storeShortAscii(std::wstring_view text) noexcept {
    if (text.size() > sizeof value_.brief.bytes) return false;
    return TextBlock::tryNarrow(makeText(text.size()), text.data(), text.size());
}

/// Makes this Null a text of `size` bytes, which the caller fills in.
char* Message::makeText(std::size_t size) {
    if (size <= sizeof value_.brief.bytes) {
        const auto base = static_cast<std::size_t>(Type::ShortText);
        value_.brief = {static_cast<Type>(base + size), {}};
        return value_.brief.bytes;
    }
    become(Type::Text, {.text = TextNode::create(size)});
    return value_.plain.slot.text->bytes();
}

/// Copies a text that owns storage into this Null.
void Message::copyText(const Message& source) {
    if (source.type() == Type::Text) {
        const std::string_view text = source.narrowText();
        std::memcpy(makeText(text.size()), text.data(), text.size());
    } else {
        become(Type::WideText, {.wideText = new std::wstring(source.wideText())});
    }
}

std::wstring Message::getWstring() const {
    if (!isString()) throw WrongTypeException();
    return type() == Type::WideText ? wideText() : Utf::decode(narrowText());
}

std::string Message::getString() const {
    if (!isString()) throw WrongTypeException();
    return type() == Type::WideText ? Utf::encode(wideText()) : std::string(narrowText());
}

std::wstring Message::strToWstr(const std::string& text) {
    return Utf::decode(text);
}

std::string Message::wstrToStr(const std::wstring& text) {
    return Utf::encode(text);
}

}  // namespace Korvel
