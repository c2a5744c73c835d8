#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

/// Which arguments a Message takes as what. Nothing here is for users.
namespace Korvel::Detail {

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

/// Any type that operator[], at and hasKey take as a key.
template <class T>
inline constexpr bool isAnyKey =
    isKey<T, char> || isKey<T, wchar_t> || std::is_convertible_v<const T&, std::string> ||
    std::is_convertible_v<const T&, std::wstring>;

/// What at gives out.
template <class T>
const T& required(const T* found) {
    if (found == nullptr) throw std::out_of_range("invalid map<K, T> key");
    return *found;
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

}  // namespace Korvel::Detail
