#pragma once

#include <cstdint>
#include <string>

namespace Korvel {

struct TextNode;
struct VectorNode;
class MapNode;
class Message;

/// What a Message is made of. Nothing here is for users.
namespace Detail {

/// A text has three forms: up to fifteen bytes of UTF-8 inside the Message, with the size in the
/// type; more of them in a TextNode; or a wide text, for units that UTF-8 cannot give back.
///
/// The order matters. A value of a type from ShortText on leaves a Null when it is moved from. A
/// value of a type from Text on owns storage, or is an Alias: what the map of getMap holds for a
/// value that the Map keeps elsewhere.
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

/// Both begin with the type, so it can be read whichever of them is in use.
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
