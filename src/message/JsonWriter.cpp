#include "message/JsonWriter.h"

#include "message/text/DoubleText.h"
#include "message/text/IntegerText.h"
#include "message/text/JsonEscape.h"
#include "message/MessageNodes.h"
#include "message/text/TextBlock.h"

#include <cstring>
#include <locale>

namespace Korvel {
namespace {

constexpr std::string_view STEP = "  ";
/// A long text is written in pieces, because the room for its worst case is six times its size.
constexpr std::size_t PIECE = 4096;
/// For what stands around a child beside its indentation, and for a child that is a number or a
/// short text.
constexpr std::size_t ROOM_FOR_CHILD = 128;

char* put(char* out, std::string_view piece) {
    std::memcpy(out, piece.data(), piece.size());
    return out + piece.size();
}

/// Free of branches.
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

}  // namespace

JsonWriter::JsonWriter(TextBuffer& text, bool pretty, std::string indent)
    : text_(text),
      pretty_(pretty),
      isClassicLocale_(std::locale() == std::locale::classic()),
      indent_(std::move(indent)) {}

void JsonWriter::write(const Message& root) {
    if (!root.isContainer()) {
        text_.append(indent_);
        text_.endAt(putScalar(text_.room(ROOM_FOR_CHILD), root));
        return;
    }
    open(root);
    while (depth_ > 0) writeChildren();
}

void JsonWriter::writeChildren() {
    const Level& level = innermost();
    if (level.container->isVector()) return writeElements();
    if (level.isFlat) return writeFlatEntries();
    writeEntries();
}

void JsonWriter::open(const Message& container) {
    if (depth_ > 0 && pretty_) indent_ += STEP;
    text_.push_back(container.isMap() ? '{' : '[');
    if (pretty_) text_.push_back('\n');
    if (++depth_ > first_.size()) deeper_.emplace_back();
    const bool isFlat = container.isMap() && container.value_.plain.slot.map->isFlat();
    innermost() = {&container, isFlat, 0, {}};
    if (container.isMap() && !isFlat) innermost().entry = container.getMap().begin();
}

/// Goes on with the innermost container, a Vector, up to an element that is a container itself, or
/// to its end. What the loop uses is local, because whatever is written through a character pointer
/// could be a member as far as a compiler knows.
void JsonWriter::writeElements() {
    Level& level = innermost();
    const std::vector<Message>& elements = level.container->getVector();
    const Message* const begin = elements.data();
    const Message* const end = begin + elements.size();
    const std::size_t room = ROOM_FOR_CHILD + indent_.size();
    const bool isLaidOut = pretty_ || !indent_.empty();
    char* out = text_.room(0);
    for (const Message* element = begin + level.position; element != end; ++element) {
        out = putComma(text_.room(out, room), element == begin);
        if (isLaidOut) out = putLayout(out, element == begin);
        if (element->isContainer()) {
            level.position = static_cast<std::size_t>(element - begin) + 1;
            text_.endAt(out);
            return open(*element);
        }
        out = putScalar(out, *element);
    }
    text_.endAt(out);
    close(']', elements.empty());
}

/// The same for a Map that is flat.
void JsonWriter::writeFlatEntries() {
    Level& level = innermost();
    const auto entries = level.container->value_.plain.slot.map->flat();
    const auto* const begin = entries.data();
    const auto* const end = begin + entries.size();
    const std::size_t room = ROOM_FOR_CHILD + indent_.size();
    const bool isLaidOut = pretty_ || !indent_.empty();
    char* out = text_.room(0);
    for (const auto* entry = begin + level.position; entry != end; ++entry) {
        out = putComma(text_.room(out, room), entry == begin);
        if (isLaidOut) out = putLayout(out, entry == begin);
        *out = '"';
        out = putColon(put(entry->key.write(out + 1), "\""));
        const Message& value = entry->value.shown();
        if (value.isContainer()) {
            level.position = static_cast<std::size_t>(entry - begin) + 1;
            text_.endAt(out);
            return open(value);
        }
        out = putScalar(out, value);
    }
    text_.endAt(out);
    close('}', entries.empty());
}

/// The same for any other Map.
void JsonWriter::writeEntries() {
    Level& level = innermost();
    const Entries& entries = level.container->getMap();
    const std::size_t room = ROOM_FOR_CHILD + indent_.size();
    const bool isLaidOut = pretty_ || !indent_.empty();
    const auto begin = entries.begin();
    char* out = text_.room(0);
    for (auto entry = level.entry; entry != entries.end(); ++entry) {
        const auto& [key, value] = *entry;
        out = text_.room(out, room + JsonEscape::roomFor(key.size()));
        out = putComma(out, entry == begin);
        if (isLaidOut) out = putLayout(out, entry == begin);
        out = putColon(putQuoted(out, std::wstring_view(key)));
        if (value.isContainer()) {
            level.entry = std::next(entry);
            text_.endAt(out);
            return open(value);
        }
        out = putScalar(out, value);
    }
    text_.endAt(out);
    close('}', entries.empty());
}

void JsonWriter::close(char bracket, bool isEmpty) {
    if (pretty_ && !isEmpty) text_.push_back('\n');
    text_.append(indent_);
    text_.push_back(bracket);
    if (depth_-- > first_.size()) deeper_.pop_back();
    if (depth_ > 0 && pretty_) indent_.resize(indent_.size() - STEP.size());
}

/// What stands before a child beside a comma.
char* JsonWriter::putLayout(char* out, bool isFirst) const {
    if (pretty_ && !isFirst) *out++ = '\n';
    out = put(out, indent_);
    return pretty_ ? put(out, STEP) : out;
}

char* JsonWriter::putColon(char* out) const {
    return put(out, pretty_ ? ": " : ":");
}

/// `out` is the end of the text, with ROOM_FOR_CHILD behind it.
char* JsonWriter::putScalar(char* out, const Message& value) {
    const Message::Slot& slot = value.value_.plain.slot;
    if (value.type() == Message::Type::Integer) return IntegerText::write(out, slot.integer);
    if (value.isShortText()) return putShortText(out, value);
    switch (value.type()) {
    case Message::Type::Boolean:
        return put(out, slot.boolean ? "true" : "false");
    case Message::Type::Double:
        return isClassicLocale_ ? DoubleText::write(out, slot.real)
                                : putInGlobalLocale(out, slot.real);
    case Message::Type::Text:
        return putLongText(out, value.narrowText());
    case Message::Type::WideText:
        out = text_.room(out, JsonEscape::roomFor(value.wideText().size()));
        return putQuoted(out, std::wstring_view(value.wideText()));
    default:
        return put(out, "null");
    }
}

/// Of any length, because the locale can have any facet.
char* JsonWriter::putInGlobalLocale(char* out, double value) {
    const std::string text = DoubleText::inGlobalLocale(value);
    return put(text_.room(out, text.size() + ROOM_FOR_CHILD), text);
}

char* JsonWriter::putShortText(char* out, const Message& value) {
    const std::string_view text = value.narrowText();
    const unsigned escapes = TextBlock::escapeMask(value.shortBlock()) >> 1;
    if ((escapes & TextBlock::maskOf(text.size())) != 0) return putQuoted(out, text);
    *out = '"';
    std::memcpy(out + 1, value.value_.brief.bytes, sizeof value.value_.brief.bytes);
    out += 1 + text.size();
    *out = '"';
    return out + 1;
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
