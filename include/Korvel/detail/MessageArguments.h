// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Korvel {

class Message;

/// Maps argument types to the overloads of Message. Internal: not for users.
namespace Detail {

template <class T>
inline constexpr bool isCharacter =
    std::is_same_v<T, char> || std::is_same_v<T, wchar_t> || std::is_same_v<T, char16_t> ||
#ifdef __cpp_char8_t
    std::is_same_v<T, char8_t> ||
#endif
    std::is_same_v<T, char32_t>;

template <class T, bool = std::is_integral_v<T>>
inline constexpr bool isWholeNumber = false;
template <class T>
inline constexpr bool isWholeNumber<T, true> =
    !std::is_same_v<T, bool> && !isCharacter<T> && sizeof(T) <= sizeof(std::int64_t);

/// A literal, a pointer to text or a view, used as a key without a temporary string.
template <class T, class Unit>
inline constexpr bool isKey = std::is_convertible_v<const T&, std::basic_string_view<Unit>> &&
                              !std::is_same_v<T, std::nullptr_t>;

template <class T>
inline constexpr bool isView = isKey<T, char> || isKey<T, wchar_t>;

/// A null pointer is not a key, just as it is not a text.
template <class Unit, class T>
std::basic_string_view<Unit> keyOf(const T& key) {
    if constexpr (std::is_pointer_v<T>) {
        if (key == nullptr) throw std::logic_error("Message key from a null text pointer");
    }
    return key;
}

/// Any type that operator[], at and hasKey accept as a key.
template <class T>
inline constexpr bool isAnyKey = isView<T> || std::is_convertible_v<const T&, std::string> ||
                                 std::is_convertible_v<const T&, std::wstring>;

/// Returns the value that `at` found; throws if there is none.
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

/// Prevents deduction of a template parameter from the argument.
template <class T>
using NotDeduced = std::enable_if_t<true, T>;

template <class To>
To implicitly(To value);

/// Like std::is_convertible, but false for an incomplete type: overload resolution evaluates it for
/// every argument of a function that has a Message overload.
template <class T, class To, class = void>
inline constexpr bool converts = false;
template <class T, class To>
inline constexpr bool
    converts<T, To, std::void_t<decltype(implicitly<To>(std::declval<const T&>()))>> = true;

/// A Message, a class derived from it, or a class with a conversion function to it.
template <class T, class = void>
inline constexpr bool isMessage = std::is_convertible_v<T*, const Message*>;
template <class T>
inline constexpr bool
    isMessage<T, std::void_t<decltype(std::declval<const T&>().operator Message())>> = true;

/// A string, or a class that converts to it and not to the other string type.
template <class T, class Text, class Other>
inline constexpr bool isTextClass =
    std::is_class_v<T> && !isMessage<T> && converts<T, Text> && !converts<T, Other>;
template <class T>
inline constexpr bool isNarrowText = isTextClass<T, std::string, std::wstring>;
template <class T>
inline constexpr bool isWideText = isTextClass<T, std::wstring, std::string>;

std::false_type selectBool(int);
std::true_type selectBool(bool);
template <class T>
using SelectsBool = decltype(selectBool(std::declval<const T&>()));
template <class T>
using Promoted = decltype(+std::declval<const T&>());

/// A bool, or a type that converts to bool and to no other value. C++ also converts pointers to
/// bool, and lambdas, which convert to pointers; unary plus does not promote those to int.
template <class T, class = void>
inline constexpr bool isTruth = false;
template <class T>
inline constexpr bool isTruth<T, std::void_t<SelectsBool<T>, Promoted<T>>> =
    !std::is_enum_v<T> && !isMessage<T> && !converts<T, std::string> &&
    !converts<T, std::wstring> && std::is_same_v<Promoted<T>, int> && SelectsBool<T>::value;

/// One function for each remaining constructor of Message.
void construct(std::int64_t);
void construct(float);
void construct(double);
void construct(const char*);
void construct(const wchar_t*);
void construct(std::map<std::string, Message>);
void construct(std::map<std::wstring, Message>);
void construct(std::initializer_list<std::pair<std::string, Message>>);
void construct(std::initializer_list<std::pair<std::wstring, Message>>);
void construct(std::vector<Message>);

template <class T, class = void>
inline constexpr bool isOther = false;
template <class T>
inline constexpr bool isOther<T, std::void_t<decltype(construct(std::declval<const T&>()))>> = true;

template <class T, class = void>
inline constexpr bool isIterator = false;
template <class T>
inline constexpr bool isIterator<T, std::void_t<typename T::iterator_category>> = true;

/// Any type that no constructor accepts, except iterators. A deleted constructor takes part in
/// overload resolution, and one for iterators would turn `std::vector<Message>{begin, end}` into a
/// list of two elements.
template <class T>
inline constexpr bool isForeign =
    !isMessage<T> && !isTruth<T> && !isWholeNumber<T> && !isNarrowText<T> && !isWideText<T> &&
    !isOther<T> && !isIterator<T>;

}  // namespace Detail
}  // namespace Korvel
