#include "message/JsonWriter.h"

#include "message/DoubleText.h"
#include "message/IntegerText.h"
#include "message/JsonEscape.h"
#include "message/MessageNodes.h"

#include <locale>
#include <sstream>

namespace Korvel {
namespace {

constexpr std::string_view STEP = "  ";
constexpr std::size_t USUAL_DEPTH = 8;
/// A long text is written in pieces, because the room for its worst case is six times its size.
constexpr std::size_t PIECE = 4096;

}  // namespace

JsonWriter::JsonWriter(TextBuffer& text, bool pretty, std::string indent)
    : text_(text),
      pretty_(pretty),
      isClassicLocale_(std::locale() == std::locale::classic()),
      indent_(std::move(indent)) {}

void JsonWriter::write(const Message& root) {
    if (!root.isContainer()) {
        text_.append(indent_);
        writeScalar(root);
        return;
    }
    levels_.reserve(USUAL_DEPTH);
    open(root);
    while (!levels_.empty()) {
        if (levels_.back().container->isMap()) {
            writeEntries();
        } else {
            writeElements();
        }
    }
}

void JsonWriter::open(const Message& container) {
    if (!levels_.empty() && pretty_) indent_ += STEP;
    text_.push_back(container.isMap() ? '{' : '[');
    if (pretty_) text_.push_back('\n');
    levels_.push_back({&container, 0, {}});
    if (container.isMap()) levels_.back().entry = container.getMap().begin();
}

/// Goes on with the innermost container, a Vector, up to an element that is a container itself, or
/// to its end.
void JsonWriter::writeElements() {
    Level& level = levels_.back();
    const std::vector<Message>& elements = level.container->getVector();
    while (level.position < elements.size()) {
        const Message& element = elements[level.position];
        beginChild(level.position == 0);
        ++level.position;
        if (element.isContainer()) return open(element);
        writeScalar(element);
    }
    close(']', elements.empty());
}

/// The same for a Map.
void JsonWriter::writeEntries() {
    Level& level = levels_.back();
    const Entries& entries = level.container->getMap();
    while (level.entry != entries.end()) {
        const auto& [key, value] = *level.entry;
        beginChild(level.entry == entries.begin());
        ++level.entry;
        writeText(std::wstring_view(key));
        text_.push_back(':');
        if (pretty_) text_.push_back(' ');
        if (value.isContainer()) return open(value);
        writeScalar(value);
    }
    close('}', entries.empty());
}

void JsonWriter::close(char bracket, bool isEmpty) {
    if (pretty_ && !isEmpty) text_.push_back('\n');
    text_.append(indent_);
    text_.push_back(bracket);
    levels_.pop_back();
    if (!levels_.empty() && pretty_) indent_.resize(indent_.size() - STEP.size());
}

void JsonWriter::beginChild(bool isFirst) {
    if (!isFirst) {
        text_.push_back(',');
        if (pretty_) text_.push_back('\n');
    }
    if (!indent_.empty()) text_.append(indent_);
    if (pretty_) text_.append(STEP);
}

void JsonWriter::writeScalar(const Message& value) {
    switch (value.type()) {
    case Message::Type::Boolean:
        text_.append(value.getBoolean() ? "true" : "false");
        break;
    case Message::Type::Integer:
        text_.endAt(IntegerText::write(text_.room(IntegerText::LONGEST), value.getInteger()));
        break;
    case Message::Type::Double:
        writeNumber(value.getDouble());
        break;
    case Message::Type::ShortText:
    case Message::Type::Text:
        writeText(value.narrowText());
        break;
    case Message::Type::WideText:
        writeText(value.wideText());
        break;
    default:
        text_.append("null");
    }
}

void JsonWriter::writeNumber(double value) {
    if (isClassicLocale_) {
        text_.endAt(DoubleText::write(text_.room(DoubleText::LONGEST), value));
    } else {
        std::ostringstream stream;
        stream << value;
        text_.append(stream.str());
    }
}

void JsonWriter::writeText(std::string_view text) {
    text_.push_back('"');
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, PIECE);
        text_.endAt(JsonEscape::write(text_.room(JsonEscape::roomFor(piece.size())), piece));
        text.remove_prefix(piece.size());
    }
    text_.push_back('"');
}

void JsonWriter::writeText(std::wstring_view text) {
    text_.push_back('"');
    text_.endAt(JsonEscape::write(text_.room(JsonEscape::roomFor(text.size())), text));
    text_.push_back('"');
}

}  // namespace Korvel
