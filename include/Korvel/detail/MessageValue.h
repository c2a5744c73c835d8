// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace Korvel {

struct TextNode;
struct VectorNode;
class MapNode;
class Message;

/// The representation of a Message. Internal: not for users.
namespace Detail {

/// Text has three forms: up to fifteen bytes of UTF-8 inside the Message, with the size in the
/// type; longer UTF-8 in a TextNode; or wide text, for code units that UTF-8 cannot restore.
///
/// The order matters. A value of type ShortText or above leaves a Null when it is moved from. A
/// value of type Text or above owns storage or is an Alias: an entry in the map of getMap that
/// refers to a value stored elsewhere in the Map.
enum class Type : std::uint8_t {
    Null,
    Boolean,
    Double,
    Integer,
    ShortText = 16,
    Text = 32,
    WideText,
    Vector,
    Map,
    Alias
};

union Payload {
    bool boolean;
    double real;
    std::int64_t integer;
    TextNode* text;
    std::wstring* wideText;
    VectorNode* vector;
    MapNode* map;
    Message* target;
};

struct Plain {
    Type type;
    Payload payload;
};

struct Short {
    static constexpr std::size_t CAPACITY = 15;

    Type type;
    char bytes[CAPACITY];
};

/// Both start with the type, so it can be read whichever is active.
union Value {
    Plain plain;
    Short brief;

    Type type() const noexcept { return plain.type; }
    /// Whether a copy of the bytes is a copy of the value.
    bool isSelfContained() const noexcept { return type() < Type::Text; }
};

static_assert(sizeof(Value) == 16 && sizeof(Plain) == sizeof(Short));

}  // namespace Detail

}  // namespace Korvel
