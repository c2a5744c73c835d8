#pragma once

#include <cstddef>
#include <cstdint>
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

namespace Korvel::Detail {

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

}  // namespace Korvel::Detail
