// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Message.h>
#include <Korvel/WrongTypeException.h>

#include <cstddef>
#include <string_view>

namespace Korvel {

/// Internal operations on a Message beyond its public ones.
///
/// The map that getMap returns holds aliases of values stored elsewhere in the Map. Code that reads
/// a value here must resolve it first, as `require` does; otherwise it reads a wrong type.
class MessageAccess {
public:
    using Type = Detail::Type;
    using Value = Detail::Value;

    static const Value& value(const Message& message) noexcept { return message.value_; }
    static Value& value(Message& message) noexcept { return message.value_; }
    static Type type(const Message& message) noexcept { return message.value_.type(); }

    /// The target of an alias, or `message` itself.
    static const Message& resolve(const Message& message) noexcept {
        return type(message) == Type::Alias ? *message.value_.plain.payload.target : message;
    }
    static Message& resolve(Message& message) noexcept {
        return type(message) == Type::Alias ? *message.value_.plain.payload.target : message;
    }

    static Type resolvedType(const Message& message) noexcept { return type(resolve(message)); }

    /// The resolved value if it has the type `wanted`; throws WrongTypeException otherwise.
    static const Value& require(const Message& message, Type wanted) {
        return type(message) == wanted ? message.value_ : requireResolved(message, wanted);
    }

    /// Moves the value out of `source`. A text or a container leaves `source` Null.
    static Message takeOver(Message& source) noexcept {
        return Message(Message::TakeOver(), source);
    }

    /// The approximate number of bytes that `message` owns, which is also a measure of its
    /// destruction time. Counting stops at `limit`, so it is fast for every Message.
    static std::size_t footprint(const Message& message, std::size_t limit) noexcept;

private:
    // Out of line, because it is rarely needed.
    static const Value& requireResolved(const Message& message, Type wanted);
};

}  // namespace Korvel
