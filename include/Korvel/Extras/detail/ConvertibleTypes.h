// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Message.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

/// What toMessage needs to know about a type. Internal: not for users.
namespace Korvel::Extras::Detail {

/// Contains nothing but the declarations that argument-dependent lookup is to compete with.
namespace Lookup {

struct Anything {
    template <class T>
    Anything(const T&);
};
struct Nothing {};
/// Worse than any function that takes the type itself, and ambiguous with the toMessage of Extras,
/// which argument-dependent lookup finds for types such as `std::vector<Severity>`.
Nothing toMessage(const Anything&);

template <class T, class = void>
inline constexpr bool isOwn = false;
template <class T>
inline constexpr bool isOwn<T, std::void_t<decltype(toMessage(std::declval<const T&>()))>> =
    std::is_convertible_v<decltype(toMessage(std::declval<const T&>())), Message>;

template <class T>
Message call(const T& value) {
    return toMessage(value);
}

}  // namespace Lookup

namespace Iteration {

using std::begin;
using std::end;

/// The elements of a `T`, which may be const.
template <class T>
using Element = std::remove_cv_t<std::remove_reference_t<decltype(*begin(std::declval<T&>()))>>;

template <class T, class = void>
inline constexpr bool isRange = false;
template <class T>
inline constexpr bool isRange<
    T, std::void_t<Element<T>, decltype(begin(std::declval<T&>()) != end(std::declval<T&>()))>> =
    true;

template <class T, class Action>
void forEach(T& range, const Action& action) {
    auto position = begin(range);
    const auto last = end(range);
    for (; position != last; ++position) action(*position);
}

}  // namespace Iteration

template <class T>
struct Tag {
    using Type = T;
};

/// Some views, such as `std::ranges::filter_view`, have no begin() const. They are copied.
template <class T>
using Iterated = std::conditional_t<Iteration::isRange<const T>, const T, T>;
template <class T>
using Element = Iteration::Element<Iterated<T>>;

using Korvel::Detail::isCharacter;

template <class T, bool = std::is_integral_v<T>>
inline constexpr bool isNumber = std::is_floating_point_v<T>;
/// Not the 128-bit integers of some compilers.
template <class T>
inline constexpr bool isNumber<T, true> = sizeof(T) <= sizeof(std::int64_t);

template <class T, class Text>
inline constexpr bool becomes = std::is_convertible_v<const T&, Text>;

/// What a text converts to, best without a copy.
template <class T>
constexpr auto textOf() {
    if constexpr (becomes<T, std::string_view>) {
        return Tag<std::string_view>();
    } else if constexpr (becomes<T, std::wstring_view>) {
        return Tag<std::wstring_view>();
    } else if constexpr (becomes<T, std::u16string_view>) {
        return Tag<std::u16string_view>();
    } else if constexpr (becomes<T, std::u32string_view>) {
        return Tag<std::u32string_view>();
#ifdef __cpp_char8_t
    } else if constexpr (becomes<T, std::u8string_view>) {
        return Tag<std::u8string_view>();
#endif
    } else if constexpr (becomes<T, std::string>) {
        return Tag<std::string>();
    } else if constexpr (becomes<T, std::wstring>) {
        return Tag<std::wstring>();
    } else {
        return Tag<void>();
    }
}
template <class T>
using Text = typename decltype(textOf<T>())::Type;

/// A type that converts to both narrow and wide text is not text: it can be one that converts to
/// anything, and fails at run time.
template <class T>
inline constexpr bool isText =
    !std::is_void_v<Text<T>> && !((becomes<T, std::string> || becomes<T, std::string_view>)&&(
                                    becomes<T, std::wstring> || becomes<T, std::wstring_view>));

/// A Message, a class derived from it, or a class with a conversion function to it.
template <class T, class = void>
inline constexpr bool isMessage = std::is_convertible_v<const T*, const Message*>;
template <class T>
inline constexpr bool
    isMessage<T, std::void_t<decltype(std::declval<const T&>().operator Message())>> =
        std::is_convertible_v<const T&, Message>;

template <class T>
inline constexpr bool isNull =
    std::is_same_v<T, std::nullptr_t> || std::is_same_v<T, std::nullopt_t> ||
    std::is_same_v<T, std::monostate>;

template <class T>
inline constexpr bool isError =
    std::is_same_v<T, std::error_code> || std::is_same_v<T, std::error_condition>;

template <class T>
inline constexpr bool isException =
    std::is_same_v<T, std::exception_ptr> || std::is_convertible_v<const T*, const std::exception*>;

template <class T>
inline constexpr bool isPath = std::is_convertible_v<const T*, const std::filesystem::path*>;

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

template <class T>
inline constexpr bool isVariant = false;
template <class... T>
inline constexpr bool isVariant<std::variant<T...>> = true;

template <class T>
inline constexpr bool isTuple = false;
template <class... T>
inline constexpr bool isTuple<std::tuple<T...>> = true;
template <class First, class Second>
inline constexpr bool isTuple<std::pair<First, Second>> = true;

template <class T>
inline constexpr bool isDuration = false;
template <class Count, class Period>
inline constexpr bool isDuration<std::chrono::duration<Count, Period>> = true;

template <class T>
inline constexpr bool isTime = false;
template <class Duration>
inline constexpr bool isTime<std::chrono::time_point<std::chrono::system_clock, Duration>> = true;

/// A coarser unit reaches further than the clock. Seconds as a double can represent both.
template <class T>
std::chrono::system_clock::time_point toSystemTime(const T& time) {
    using Clock = std::chrono::system_clock;
    using Seconds = std::chrono::duration<double>;
    const Seconds seconds(time.time_since_epoch());
    if (!(seconds < Seconds((Clock::duration::max)()))) return (Clock::time_point::max)();
    if (!(seconds > Seconds((Clock::duration::min)()))) return (Clock::time_point::min)();
    return std::chrono::floor<Clock::duration>(time);
}

/// Without `at` it is a multimap, which has several values for a key.
template <class T, class = void>
inline constexpr bool isMap = false;
template <class T>
inline constexpr bool
    isMap<T, std::void_t<typename T::mapped_type, decltype(std::declval<const T&>().at(
                                                      std::declval<typename T::key_type>()))>> =
        isText<typename T::key_type>;

/// A range of its own type has no end, as `std::filesystem::path` shows: a file name is a path
/// whose only element is itself.
template <class T>
constexpr bool isRange() {
    if constexpr (Iteration::isRange<Iterated<T>>) {
        return !std::is_same_v<Element<T>, T> &&
               (std::is_const_v<Iterated<T>> || std::is_copy_constructible_v<T>);
    } else {
        return false;
    }
}

}  // namespace Korvel::Extras::Detail
