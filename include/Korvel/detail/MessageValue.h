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

/// A text has three forms: up to fifteen bytes of UTF-8 in the Message, with the size in the
/// type; more of them in a TextNode; or a wide text, for units that have no UTF-8 to read back
/// from. The types from ShortText on leave a Null when they are moved from, and those from Text
/// on own storage. A StandIn is what a Map keeps for a value that stands elsewhere.
enum class Type : std::uint8_t {
    Null,
    Boolean,
    Double,
    Integer,
    StandIn,
    ShortText = 16,
    Text = 32,
    WideText,
    Vector,
    Map
};

union Slot {
    bool boolean;
    double real;
    std::int64_t integer;
    TextNode* text;
    std::wstring* wideText;
    VectorNode* vector;
    MapNode* map;
    Message* shown;
};

struct Plain {
    Type type;
    Slot slot;
};

struct Short {
    Type type;
    char bytes[15];
};

/// Both begin with the type, so it can be read whichever of them is in use.
union Value {
    Plain plain;
    Short brief;
};

}  // namespace Detail

}  // namespace Korvel
