#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

/// Whether the compiler knows the value, so that it costs nothing to look at, and for functions
/// that it must look into for that.
#ifdef __GNUC__
#define KORVEL_IS_CONSTANT(value) __builtin_constant_p(value)
#define KORVEL_INLINE __attribute__((always_inline)) inline
#else
#define KORVEL_IS_CONSTANT(value) false
#define KORVEL_INLINE inline
#endif

namespace Korvel {

struct TextNode;
struct VectorNode;
class MapNode;
class Message;

/// What a Message is made of, and which arguments it takes as what. Nothing here is for users.
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

template <class T>
inline constexpr bool isCharacter =
    std::is_same_v<T, char> || std::is_same_v<T, wchar_t> || std::is_same_v<T, char16_t> ||
#ifdef __cpp_char8_t
    std::is_same_v<T, char8_t> ||
#endif
    std::is_same_v<T, char32_t>;

template <class T>
inline constexpr bool isWholeNumber = std::is_integral_v<T> && !std::is_same_v<T, bool> &&
                                      !isCharacter<T> && sizeof(T) <= sizeof(std::int64_t);

template <class T>
inline constexpr bool isText =
    std::is_convertible_v<T*, const char*> || std::is_convertible_v<T*, const wchar_t*>;

/// A literal, a pointer to text or a view, which needs no temporary string on its way to a Map.
template <class T, class Unit>
inline constexpr bool isKey = std::is_convertible_v<const T&, std::basic_string_view<Unit>> &&
                              !std::is_same_v<T, std::nullptr_t>;

/// A key as a Map keeps it if it has up to fifteen ASCII characters, none of which JSON escapes:
/// the characters from the highest byte of two numbers on, zeros behind them, and the size in the
/// last byte. `tail` is 0 for what is no such key. The library makes the same of other keys
/// (FlatKey), and what is compiled into programs makes this a part of the ABI.
struct PackedKey {
    std::uint64_t head = 0;
    std::uint64_t tail = 0;

    static constexpr std::size_t CAPACITY = 15;
};

/// Whether T is an array of the size of such a key.
template <class T>
inline constexpr bool isShortArray = (std::extent_v<T> > 0) &&
                                     (std::extent_v<T> <= PackedKey::CAPACITY + 1);

template <class Unit>
KORVEL_INLINE constexpr bool isPlain(Unit unit) {
    return unit >= 0x20 && unit < 0x80 && unit != '"' && unit != '\\';
}

/// The bits of the character at `position` in the number that begins with the one at `first`.
template <class Unit>
KORVEL_INLINE constexpr std::uint64_t packOne(Unit unit, std::size_t position, std::size_t first) {
    if (position < first || position >= first + 8) return 0;
    return static_cast<std::uint64_t>(unit) << (56 - 8 * (position - first));
}

template <class Unit, std::size_t N, std::size_t... POSITIONS>
KORVEL_INLINE constexpr PackedKey pack(const Unit (&text)[N], std::index_sequence<POSITIONS...>) {
    const unsigned others = ((isPlain(text[POSITIONS]) ? 0U : 1U) | ... | 0U);
    if (others != 0 || text[N - 1] != Unit()) return {};
    return {(packOne(text[POSITIONS], POSITIONS, 0) | ... | 0U),
            (packOne(text[POSITIONS], POSITIONS, 8) | ... | (N - 1))};
}

/// Compilers make a constant of it where `text` is a literal.
template <class Unit, std::size_t N>
KORVEL_INLINE constexpr PackedKey pack(const Unit (&text)[N]) {
    return pack(text, std::make_index_sequence<N - 1>());
}

template <class T>
std::int64_t toInteger(T value) {
    if constexpr (std::is_unsigned_v<T> && sizeof(T) == sizeof(std::int64_t)) {
        if (value > static_cast<T>((std::numeric_limits<std::int64_t>::max)())) {
            throw std::range_error("integer above the signed 64-bit range");
        }
    }
    return static_cast<std::int64_t>(value);
}

}  // namespace Detail

}  // namespace Korvel
