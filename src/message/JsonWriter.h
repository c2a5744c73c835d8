// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "message/MapNode.h"
#include "message/text/TextBuffer.h"

#include <Korvel/Message.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace Korvel {

/// Appends Messages to a buffer as JSON text. It walks a tree with an explicit stack, so depth
/// costs heap memory, not call stack.
class JsonWriter {
public:
    JsonWriter(TextBuffer& text, bool pretty, std::string indent);

    /// If it throws, the buffer holds part of the text, and the writer must not be used again.
    void write(const Message& message);

private:
    /// A container that has been opened and not yet closed, and its next child: `entry` for a Map
    /// indexed by its shown map, `position` otherwise.
    struct Level {
        const Message* container;
        std::size_t position;
        MapNode::ShownMap::const_iterator entry;
    };
    struct Elements;
    struct Slots;
    struct Entries;

    Level& innermost() noexcept {
        return depth_ <= first_.size() ? first_[depth_ - 1] : deeper_.back();
    }
    void open(const Message& container);
    void writeInnermost();
    template <class Children>
    void writeChildren(Children children);
    void close(char bracket, bool isEmpty);
    char* putLayout(char* out, bool isFirst) const;
    char* putScalar(char* out, const Message& scalar);
    char* putInGlobalLocale(char* out, double value);
    char* putLongText(char* out, std::string_view text);

    TextBuffer& text_;
    const bool pretty_;
    const bool isClassicLocale_;
    std::string indent_;
    std::size_t depth_ = 0;
    /// Enough for most trees, which then need no allocation.
    std::array<Level, 4> first_;
    std::vector<Level> deeper_;
};

}  // namespace Korvel
