#pragma once

#include <Korvel/Message.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Korvel {

/// Renders one Message as JSON text. It walks the tree with a stack of its own, so depth costs
/// memory and not stack.
class JsonWriter {
public:
    JsonWriter(bool pretty, std::string indent);

    /// To be called once.
    std::string write(const Message& root);

private:
    /// A container that has been opened and not yet closed, and what of it comes next. `position`
    /// is used for a Vector and `entry` for a Map.
    struct Level {
        const Message* container;
        std::size_t position;
        std::map<std::wstring, Message>::const_iterator entry;
    };

    void openContainer(const Message& container);
    void writeNext();
    void writeElement(Level& level);
    void writeEntry(Level& level);
    void closeContainer();
    void beginChild(bool isFirst);
    void writeChild(const Message& child);
    void writeScalar(const Message& value);
    void writeString(const std::wstring& units);
    void writeEscaped(std::size_t unit);

    const bool pretty_;
    std::string indent_;
    std::string text_;
    std::vector<Level> levels_;
};

}  // namespace Korvel
