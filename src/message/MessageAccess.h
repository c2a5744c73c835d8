#pragma once

#include <Korvel/Message.h>
#include <Korvel/WrongTypeException.h>

#include <cstddef>
#include <string_view>

namespace Korvel {

/// What the library does with a Message beyond its public operations.
///
/// The map that getMap shows holds aliases of values that the Map keeps elsewhere. Whoever reads a
/// value here must resolve it first; `require` does. A forgotten resolution reads a wrong type.
class MessageAccess {
public:
    using Type = Detail::Type;
    using Value = Detail::Value;

    static const Value& value(const Message& message) noexcept { return message.value_; }
    static Value& value(Message& message) noexcept { return message.value_; }
    static Type type(const Message& message) noexcept { return message.value_.type(); }

    /// What `message` is an alias of, or `message` itself.
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

    /// The value of `source`, without a copy. A text or a container leaves `source` Null.
    static Message takeOver(Message& source) noexcept {
        return Message(Message::TakeOver(), source);
    }

    /// Begins to fetch what the worker reads first into the cache of this processor.
    static void prefetch(const Message& message) noexcept;

    /// About how many bytes `message` owns, which is also a measure of the time that its
    /// destruction takes. The count stops at `limit`, so that it is quick for every Message.
    static std::size_t footprint(const Message& message, std::size_t limit) noexcept;

private:
    // Out of line, because it is nearly never needed.
    static const Value& requireResolved(const Message& message, Type wanted);
};

}  // namespace Korvel
