#include "message/JsonWriter.h"

#include "message/MessageNodes.h"
#include "message/NumberText.h"
#include "message/Utf.h"

namespace Korvel {
namespace {

constexpr const char* STEP = "  ";
constexpr std::size_t STEP_LENGTH = 2;

}  // namespace

JsonWriter::JsonWriter(bool pretty, std::string indent)
    : pretty_(pretty), indent_(std::move(indent)) {}

std::string JsonWriter::write(const Message& root) {
    if (root.isContainer()) {
        openContainer(root);
        while (!levels_.empty()) writeNext();
    } else {
        text_ = std::move(indent_);
        writeScalar(root);
    }
    return std::move(text_);
}

void JsonWriter::openContainer(const Message& container) {
    if (!levels_.empty() && pretty_) indent_ += STEP;
    text_.push_back(container.isMap() ? '{' : '[');
    if (pretty_) text_.push_back('\n');
    levels_.push_back({&container, 0, {}});
    if (container.isMap()) levels_.back().entry = container.slot_.map->entries.begin();
}

/// Writes the next child of the innermost container, or its end.
void JsonWriter::writeNext() {
    Level& level = levels_.back();
    const Message& container = *level.container;
    if (container.isVector() && level.position < container.slot_.vector->elements.size()) {
        writeElement(level);
    } else if (container.isMap() && level.entry != container.slot_.map->entries.end()) {
        writeEntry(level);
    } else {
        closeContainer();
    }
}

void JsonWriter::writeElement(Level& level) {
    const Message& child = level.container->slot_.vector->elements[level.position];
    beginChild(level.position == 0);
    ++level.position;
    writeChild(child);
}

void JsonWriter::writeEntry(Level& level) {
    const auto& [key, value] = *level.entry;
    beginChild(level.entry == level.container->slot_.map->entries.begin());
    ++level.entry;
    writeString(key);
    text_.push_back(':');
    if (pretty_) text_.push_back(' ');
    writeChild(value);
}

void JsonWriter::closeContainer() {
    const Level& level = levels_.back();
    const bool isMap = level.container->isMap();
    const bool isEmpty = isMap ? level.container->slot_.map->entries.empty() : level.position == 0;
    if (pretty_ && !isEmpty) text_.push_back('\n');
    text_ += indent_;
    text_.push_back(isMap ? '}' : ']');
    levels_.pop_back();
    if (!levels_.empty() && pretty_) indent_.resize(indent_.size() - STEP_LENGTH);
}

void JsonWriter::beginChild(bool isFirst) {
    if (!isFirst) {
        text_.push_back(',');
        if (pretty_) text_.push_back('\n');
    }
    text_ += indent_;
    if (pretty_) text_ += STEP;
}

/// Ends every use of the current Level: opening a container moves the levels_.
void JsonWriter::writeChild(const Message& child) {
    if (child.isContainer()) {
        openContainer(child);
    } else {
        writeScalar(child);
    }
}

void JsonWriter::writeScalar(const Message& value) {
    switch (value.type_) {
    case Message::Type::Boolean:
        text_ += value.slot_.boolean ? "true" : "false";
        break;
    case Message::Type::Integer:
        appendInteger(text_, value.slot_.integer);
        break;
    case Message::Type::Double:
        appendDouble(text_, value.slot_.real);
        break;
    case Message::Type::String:
        writeString(*value.slot_.string);
        break;
    default:
        text_ += "null";
    }
}

void JsonWriter::writeString(const std::wstring& units) {
    text_.push_back('"');
    std::size_t position = 0;
    while (position < units.size()) {
        const auto unit = static_cast<std::size_t>(units[position]);
        if (unit < 0x20 || unit == '"' || unit == '\\') {
            writeEscaped(unit);
            ++position;
        } else {
            position = Utf::appendCharacter(text_, units, position);
        }
    }
    text_.push_back('"');
}

void JsonWriter::writeEscaped(std::size_t unit) {
    constexpr const char* DIGITS = "0123456789abcdef";
    // The letter behind the backslash for 0x08 to 0x0D; U+000B has none.
    constexpr const char* LETTERS = "btn\0fr";
    text_.push_back('\\');
    if (unit >= 0x20) {
        text_.push_back(static_cast<char>(unit));
    } else if (unit >= 0x08 && unit <= 0x0D && unit != 0x0B) {
        text_.push_back(LETTERS[unit - 0x08]);
    } else {
        text_ += "u00";
        text_.push_back(DIGITS[unit >> 4]);
        text_.push_back(DIGITS[unit & 0xF]);
    }
}

}  // namespace Korvel
