// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/detail/Converters.h>

/// Which converter a type has. Internal: not for users.
namespace Korvel::Extras::Detail {

/// The order matters here and below: a path and a text are ranges, and so is a map.
template <class T>
constexpr auto getStructureConverter() {
    if constexpr (isOptional<T>) {
        return FromOptional();
    } else if constexpr (isVariant<T>) {
        return FromVariant();
    } else if constexpr (isTuple<T>) {
        return FromTuple();
    } else if constexpr (isMap<T>) {
        return FromMap();
    } else if constexpr (!isRange<T>()) {
        return FromUnknown();
    } else if constexpr (isCharacter<Element<T>>) {
        return FromCharacters();
    } else {
        return FromRange();
    }
}

template <class T>
constexpr auto getScalarConverter() {
    if constexpr (std::is_enum_v<T>) {
        return FromEnumerator();
    } else if constexpr (isDuration<T>) {
        return FromDuration();
    } else if constexpr (isTime<T>) {
        return FromTime();
    } else if constexpr (isError<T>) {
        return FromError();
    } else if constexpr (isException<T>) {
        return FromException();
    } else {
        return getStructureConverter<T>();
    }
}

template <class T>
constexpr auto getConverter() {
    if constexpr (Lookup::isOwn<T>) {
        return FromOwn();
    } else if constexpr (isMessage<T>) {
        return FromMessage();
    } else if constexpr (isNull<T>) {
        return FromNull();
    } else if constexpr (isCharacter<T>) {
        return FromCharacter();
    } else if constexpr (isNumber<T>) {
        return FromNumber();
    } else if constexpr (isPath<T>) {
        return FromPath();
    } else if constexpr (isText<T>) {
        return FromText();
    } else if constexpr (!std::is_same_v<decltype(getScalarConverter<T>()), FromUnknown>) {
        return getScalarConverter<T>();
    } else if constexpr (std::is_convertible_v<const T&, Message>) {
        return FromConvertible();
    } else {
        return FromUnknown();
    }
}

template <class T>
using Converter = decltype(getConverter<T>());

template <class T, class... Seen>
constexpr bool isSupported();

template <class... Seen, class... Part>
constexpr bool areSupported(Types<Seen...>, Types<Part...>) {
    return (isSupported<Part, Seen...>() && ...);
}

/// Judges the whole type at once, so that an error names the type that the user wrote. A type that
/// contains itself appears again in `Seen`.
///
/// Whoever asserts it writes the condition and the sentence in place, because each template in
/// between would add a line to the error.
template <class T, class... Seen>
constexpr bool isSupported() {
    if constexpr ((std::is_same_v<T, Seen> || ...)) {
        return true;
    } else if constexpr (std::is_volatile_v<T> || std::is_same_v<Converter<T>, FromUnknown>) {
        return false;
    } else {
        return areSupported(Types<T, Seen...>(), typename Converter<T>::template Parts<T>());
    }
}

template <class T>
Message convert(const void* address) {
    return Converter<T>::convert(*static_cast<const T*>(address));
}

}  // namespace Korvel::Extras::Detail
