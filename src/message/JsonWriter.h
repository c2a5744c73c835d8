#pragma once

#include "message/text/TextBuffer.h"

#include <Korvel/Message.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace Korvel {

/// Renders one Message as JSON text at the end of a buffer. It walks the tree with a stack of its
/// own, so depth costs memory and not stack.
class JsonWriter {
public:
    JsonWriter(TextBuffer& text, bool pretty, std::string indent);

    /// To be called once.
    void write(const Message& root);

private:
    using Entries = std::map<std::wstring, Message>;

    /// A container that has been opened and not yet closed, and what of it comes next. `position`
    /// is used for a Vector and a flat Map, and `entry` for any other Map.
    struct Level {
        const Message* container;
        /// Asked once, because other readers can end the flat form meanwhile.
        bool isFlat;
        std::size_t position;
        Entries::const_iterator entry;
    };

    Level& innermost() noexcept {
        return depth_ <= first_.size() ? first_[depth_ - 1] : deeper_.back();
    }
    void open(const Message& container);
    void writeChildren();
    void writeElements();
    void writeFlatEntries();
    void writeEntries();
    void close(char bracket, bool isEmpty);
    char* putLayout(char* out, bool isFirst) const;
    char* putColon(char* out) const;
    char* putScalar(char* out, const Message& value);
    char* putInGlobalLocale(char* out, double value);
    static char* putShortText(char* out, const Message& value);
    char* putLongText(char* out, std::string_view text);

    TextBuffer& text_;
    const bool pretty_;
    const bool isClassicLocale_;
    std::string indent_;
    std::size_t depth_ = 0;
    /// Enough for most, so that they need no allocation.
    std::array<Level, 4> first_;
    std::vector<Level> deeper_;
};

}  // namespace Korvel
