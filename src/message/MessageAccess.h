#pragma once

#include <Korvel/Message.h>

#include <cstddef>
#include <string_view>

namespace Korvel {

/// What the rest of the library does with a Message beyond its public operations.
class MessageAccess {
public:
    /// The value of `source`, without a copy. A text or a container leaves `source` Null.
    static Message takeOver(Message& source) noexcept {
        return Message(Message::TakeOver(), source);
    }

    /// The same as `map[key] = value`. `map` must be a Null or a Map.
    static void set(Message& map, std::wstring_view key, Message&& value);

    /// Begins to fetch what the worker reads first into the cache of this processor.
    static void prefetch(const Message& message) noexcept;

    /// About how many bytes `message` owns, which is also a measure of the time that its
    /// destruction takes. The count stops at `limit`, so that it is quick for every Message.
    static std::size_t footprint(const Message& message, std::size_t limit) noexcept;
};

}  // namespace Korvel
