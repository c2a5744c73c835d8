#pragma once

#include <Korvel/Message.h>

/// Copying and destroying whole trees. Both recurse for a few levels, which is fast and enough for
/// most trees, and keep a list of their own below that, so depth costs memory and not stack.
namespace Korvel::MessageTree {

/// Makes the Null `copy` a deep copy of `source`.
void copy(const Message& source, Message& copy);

/// Frees what a value owns; it must own something.
void destroy(const Detail::Value& value) noexcept;

}  // namespace Korvel::MessageTree
