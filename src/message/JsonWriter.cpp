// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "message/JsonWriter.h"

#include "message/MessageText.h"
#include "message/VectorNode.h"
#include "message/text/DoubleText.h"
#include "message/text/IntegerText.h"
#include "message/text/JsonEscape.h"
#include "message/text/TextBlock.h"

#include <cstring>
#include <locale>

namespace Korvel {
namespace {

using Detail::Type;
using Detail::Value;

constexpr std::string_view STEP = "  ";
/// Long text is written in pieces, because in the worst case it grows to six times its size.
constexpr std::size_t PIECE = 4096;
/// Enough for a number or a short text, its ShortKey and the punctuation, without indentation.
constexpr std::size_t ROOM_FOR_CHILD = 128;
/// Comma, line feed, quotes around the key, colon, space.
constexpr std::size_t MAX_PUNCTUATION = 8;

static_assert(JsonEscape::roomFor(Detail::Short::CAPACITY) + TextBlock::SIZE + MAX_PUNCTUATION <=
              ROOM_FOR_CHILD);
static_assert(IntegerText::MAX_SIZE + TextBlock::SIZE + MAX_PUNCTUATION <= ROOM_FOR_CHILD);
static_assert(DoubleText::MAX_SIZE + TextBlock::SIZE + MAX_PUNCTUATION <= ROOM_FOR_CHILD);

char* put(char* out, std::string_view piece) {
    std::memcpy(out, piece.data(), piece.size());
    return out + piece.size();
}

/// Branch-free.
char* putComma(char* out, bool isFirst) {
    *out = ',';
    return out + (isFirst ? 0 : 1);
}

template <class Text>
char* putQuoted(char* out, Text text) {
    *out = '"';
    out = JsonEscape::write(out + 1, text);
    *out = '"';
    return out + 1;
}

/// Branch-free.
char* putColon(char* out, bool pretty) {
    out[0] = ':';
    out[1] = ' ';
    return out + (pretty ? 2 : 1);
}

char* putShortText(char* out, const Value& value) {
    const std::string_view text = MessageText::shortText(value);
    const unsigned escapes = TextBlock::escapeMask(MessageText::shortBlock(value)) >> 1;
    if ((escapes & TextBlock::maskOf(text.size())) != 0) return putQuoted(out, text);
    *out = '"';
    std::memcpy(out + 1, value.brief.bytes, sizeof value.brief.bytes);
    out += 1 + text.size();
    *out = '"';
    return out + 1;
}

bool isContainer(const Message& message) {
    return MessageAccess::type(message) >= Type::Vector;
}

}  // namespace

// Iterators over the unwritten children of each kind of container.

struct JsonWriter::Elements {
    static constexpr char CLOSING = ']';

    Elements(const Level& level, const std::vector<Message>& elements)
        : begin(elements.data()), end(begin + elements.size()), child(begin + level.position) {}
    bool atBegin() const { return child == begin; }
    bool atEnd() const { return child == end; }
    static std::size_t roomForKey() { return 0; }
    static char* putKey(char* out, bool) { return out; }
    const Message& next() { return *child++; }
    void store(Level& level) const { level.position = static_cast<std::size_t>(child - begin); }

    const Message* begin;
    const Message* end;
    const Message* child;
};

struct JsonWriter::Slots {
    static constexpr char CLOSING = '}';

    Slots(const Level& level, const MapNode& node)
        : map(node), size(node.size()), position(level.position) {}
    bool atBegin() const { return position == 0; }
    bool atEnd() const { return position == size; }
    static std::size_t roomForKey() { return 0; }
    char* putKey(char* out, bool pretty) const {
        *out = '"';
        return putColon(put(map.slotAt(position).key.write(out + 1), "\""), pretty);
    }
    const Message& next() { return map.slotAt(position++).value; }
    void store(Level& level) const { level.position = position; }

    const MapNode& map;
    std::size_t size;
    std::size_t position;
};

struct JsonWriter::Entries {
    static constexpr char CLOSING = '}';

    Entries(const Level& level, const MapNode& node) : map(node.shownMap()), entry(level.entry) {}
    bool atBegin() const { return entry == map.begin(); }
    bool atEnd() const { return entry == map.end(); }
    std::size_t roomForKey() const { return JsonEscape::roomFor(entry->first.size()); }
    char* putKey(char* out, bool pretty) const {
        return putColon(putQuoted(out, std::wstring_view(entry->first)), pretty);
    }
    const Message& next() { return MessageAccess::resolve((entry++)->second); }
    void store(Level& level) const { level.entry = entry; }

    const MapNode::ShownMap& map;
    MapNode::ShownMap::const_iterator entry;
};

JsonWriter::JsonWriter(TextBuffer& text, bool pretty, std::string indent)
    : text_(text),
      pretty_(pretty),
      isClassicLocale_(std::locale() == std::locale::classic()),
      indent_(std::move(indent)) {}

void JsonWriter::write(const Message& message) {
    const Message& root = MessageAccess::resolve(message);
    if (!isContainer(root)) {
        text_.append(indent_);
        text_.endAt(putScalar(text_.room(ROOM_FOR_CHILD), root));
        return;
    }
    open(root);
    while (depth_ > 0) writeInnermost();
}

void JsonWriter::writeInnermost() {
    const Level& level = innermost();
    const Value& value = MessageAccess::value(*level.container);
    if (value.type() == Type::Vector) {
        return writeChildren(Elements(level, value.plain.payload.vector->elements));
    }
    const MapNode& map = *value.plain.payload.map;
    if (map.isIndexedBySlots()) return writeChildren(Slots(level, map));
    writeChildren(Entries(level, map));
}

void JsonWriter::open(const Message& container) {
    const Value& value = MessageAccess::value(container);
    const bool isMap = value.type() == Type::Map;
    if (depth_ > 0 && pretty_) indent_ += STEP;
    text_.push_back(isMap ? '{' : '[');
    if (pretty_) text_.push_back('\n');
    if (++depth_ > first_.size()) deeper_.emplace_back();
    innermost() = {&container, 0, {}};
    if (!isMap || value.plain.payload.map->isIndexedBySlots()) return;
    innermost().entry = value.plain.payload.map->shownMap().begin();
}

/// Writes the innermost container up to the next child that is a container, or to its end. The loop
/// uses only local variables, because the compiler must assume that a write through a character
/// pointer changes a member.
template <class Children>
void JsonWriter::writeChildren(Children children) {
    const std::size_t room = ROOM_FOR_CHILD + indent_.size();
    const bool isLaidOut = pretty_ || !indent_.empty();
    char* out = text_.room(0);
    while (!children.atEnd()) {
        const bool isFirst = children.atBegin();
        out = putComma(text_.room(out, room + children.roomForKey()), isFirst);
        if (isLaidOut) out = putLayout(out, isFirst);
        out = children.putKey(out, pretty_);
        const Message& child = children.next();
        if (isContainer(child)) {
            children.store(innermost());
            text_.endAt(out);
            return open(child);
        }
        out = putScalar(out, child);
    }
    text_.endAt(out);
    close(Children::CLOSING, children.atBegin());
}

void JsonWriter::close(char bracket, bool isEmpty) {
    if (pretty_ && !isEmpty) text_.push_back('\n');
    text_.append(indent_);
    text_.push_back(bracket);
    if (depth_-- > first_.size()) deeper_.pop_back();
    if (depth_ > 0 && pretty_) indent_.resize(indent_.size() - STEP.size());
}

/// Writes the layout between the comma and a child.
char* JsonWriter::putLayout(char* out, bool isFirst) const {
    if (pretty_ && !isFirst) *out++ = '\n';
    out = put(out, indent_);
    return pretty_ ? put(out, STEP) : out;
}

/// `out` is the end of the text, followed by ROOM_FOR_CHILD bytes less a key and its punctuation.
char* JsonWriter::putScalar(char* out, const Message& scalar) {
    const Value& value = MessageAccess::value(scalar);
    const auto& payload = value.plain.payload;
    if (value.type() == Type::Integer) return IntegerText::write(out, payload.integer);
    if (MessageText::isShort(value)) return putShortText(out, value);
    switch (value.type()) {
    case Type::Boolean:
        return put(out, payload.boolean ? "true" : "false");
    case Type::Double:
        return isClassicLocale_ ? DoubleText::write(out, payload.real)
                                : putInGlobalLocale(out, payload.real);
    case Type::Text:
        return putLongText(out, MessageText::narrow(value));
    case Type::WideText:
        out = text_.room(out, JsonEscape::roomFor(payload.wideText->size()));
        return putQuoted(out, std::wstring_view(*payload.wideText));
    default:
        return put(out, "null");
    }
}

/// The text can have any length, because the locale can have any facet.
char* JsonWriter::putInGlobalLocale(char* out, double value) {
    const std::string text = DoubleText::inGlobalLocale(value);
    return put(text_.room(out, text.size() + ROOM_FOR_CHILD), text);
}

char* JsonWriter::putLongText(char* out, std::string_view text) {
    *out++ = '"';
    if (text.size() > PIECE) out = text_.room(out, text.size() + JsonEscape::roomFor(PIECE));
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, PIECE);
        out = JsonEscape::write(text_.room(out, JsonEscape::roomFor(piece.size())), piece);
        text.remove_prefix(piece.size());
    }
    *out++ = '"';
    return out;
}

}  // namespace Korvel
