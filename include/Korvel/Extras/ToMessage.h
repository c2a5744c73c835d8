// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Extras/detail/SelectConverter.h>
#include <Korvel/Message.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

namespace Korvel::Extras {

/// Converts a value of almost any type to a Message, as in
/// `logger->log("Started", {{"arguments", toMessage(arguments)}})`.
///
/// | Type | Message |
/// |---|---|
/// | `Message`, and any type that converts to it | the same |
/// | `bool`, numbers | Boolean, Integer, Double |
/// | an unsigned number above 9223372036854775807 | String with its digits, so none is lost |
/// | texts: strings, views, pointers and arrays of any character type | String |
/// | one character, a range of characters such as `std::vector<char>` | String |
/// | a null pointer to text, `nullptr`, `std::nullopt`, `std::monostate` | Null |
/// | `std::filesystem::path` | String in the native format |
/// | `std::optional`, `std::variant` | what it contains; Null if nothing |
/// | `std::pair`, `std::tuple` | Vector |
/// | a map with unique text keys | Map |
/// | any other range: a container, a view, an array | Vector |
/// | any other map, and a multimap | Vector of pairs, each a Vector of the key and the value |
/// | `std::chrono::duration` | its count, in its own unit: 1500 for `1500ms` and for `1500us` |
/// | `time_point` of `system_clock` | String in the form of createIso8601String |
/// | an enumerator | its number |
/// | `std::error_code`, `std::error_condition` | Map of "category", "text" and "value" |
/// | exceptions, `std::exception_ptr` | Map, see below |
///
/// Your own types: write `Korvel::Message toMessage(const YourType&)` in the namespace of the type,
/// or as a friend in the class. Argument-dependent lookup finds it, also for enumerations, for
/// elements of containers and for derived classes, and it precedes the table. Inside a namespace
/// that has a `toMessage`, call this one by its full name. For a type of another library, wrap it
/// in one of yours. Any other type is a compile-time error that says so, and so is a range whose
/// elements are of its own type.
///
/// Text is taken whole, with embedded NULs; only text in pointers and built-in arrays ends at the
/// first NUL. Narrow text is read as UTF-8. Bytes that are not UTF-8, lone surrogates and numbers
/// that are not code points become U+FFFD, in keys too; of keys that become equal, the last one
/// wins. A character type is `char`, `wchar_t`, `char8_t`, `char16_t` or `char32_t`; `signed char`
/// and `unsigned char` are numbers.
///
/// Durations: the number does not include its unit, so put that into the key, as in
/// `{"elapsed_ms", ms(elapsed)}`. ms and us convert to a unit that does not change with the type of
/// the argument.
///
/// Times that `system_clock` cannot represent become its first or last time. Where it counts
/// nanoseconds, it ends in the year 2262, so a date in the year 9999 is shown as one in 2262.
///
/// Exceptions: a Map of "type", the name of the dynamic type; "text", its `what()`, Null if it is
/// neither a `std::exception` nor a `const char*`; "code", as of `std::error_code`, only for
/// `std::system_error`; and "nested", only with an exception that `std::throw_with_nested` has
/// added, in the same form. At most 16 nested exceptions are shown; if there are more, the last one
/// has "nestedOmitted", true. Names of types are those of the compiler. A null `exception_ptr` is a
/// Null.
///
/// Limits: none on the size of texts, ranges and maps; use first where that matters. A tree whose
/// depth is known only at run time, such as a `std::map` that contains itself, needs stack in
/// proportion to its depth.
///
/// Errors: never a "bad conversion" of text. Throws `std::bad_alloc` and what a function of a
/// user's type throws.
///
/// Threads: may be called on any thread; `value` must not change during the call.
inline Message toMessage(const Detail::AnyValue& value) {
    return value.message();
}

/// Returns a Vector with exactly these elements, each converted by toMessage; `list()` is empty.
///
/// Braces alone cannot promise that: depending on their number and types, and on the compiler, the
/// elements become a Vector, a Map, a String or a copy of the only element.
template <class... T>
Message list(const T&... elements) {
    constexpr bool CONVERTS = (Detail::isSupported<T>() && ...);
    static_assert(CONVERTS,
                  "list cannot convert one of these types, or a part of it: write a function "
                  "`Korvel::Message toMessage(const YourType&)` in the namespace of YourType");
    if constexpr (CONVERTS) {
        return Detail::listOf(elements...);
    } else {
        return Message();
    }
}

/// Converts at most `most` elements of a range or map, for containers that can be too long for an
/// entry. Returns a Map of "first", the elements as toMessage converts them, and "omitted", how
/// many were left out, 0 if none. Counting them takes time for each.
template <class Range>
Message first(std::size_t most, const Range& range) {
    using Converter = Detail::Converter<Range>;
    constexpr bool CONVERTS =
        std::is_base_of_v<Detail::Collection, Converter> && Detail::isSupported<Range>();
    static_assert(
        CONVERTS,
        "first takes a range or a map that is not text; for its elements write a function "
        "`Korvel::Message toMessage(const YourType&)` in the namespace of YourType");
    if constexpr (CONVERTS) {
        return Detail::firstOf<Converter>(most, range);
    } else {
        return Message();
    }
}

/// The whole milliseconds in `duration`, rounded down. The result must fit.
template <class Count, class Period>
std::int64_t ms(const std::chrono::duration<Count, Period>& duration) {
    return std::chrono::floor<std::chrono::duration<std::int64_t, std::milli>>(duration).count();
}

/// The same in microseconds.
template <class Count, class Period>
std::int64_t us(const std::chrono::duration<Count, Period>& duration) {
    return std::chrono::floor<std::chrono::duration<std::int64_t, std::micro>>(duration).count();
}

template <class T>
Detail::AnyValue::AnyValue(const T& value) {
    constexpr bool CONVERTS = isSupported<T>();
    static_assert(CONVERTS,
                  "toMessage cannot convert this type, or a part of it: write a function "
                  "`Korvel::Message toMessage(const YourType&)` in the namespace of YourType");
    if constexpr (CONVERTS) {
        address_ = std::addressof(value);
        convert_ = &convert<T>;
    }
}

}  // namespace Korvel::Extras
