// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Message.h>

/// Copying and destruction of trees. Both recurse for a few levels, which is fast and sufficient
/// for most trees, and use an explicit list below that, so depth does not cost call stack.
namespace Korvel::MessageTree {

/// Turns the Null `copy` into a deep copy of `source`.
void copy(const Message& source, Message& copy);

/// Frees what a value owns. The value must own something.
void destroy(const Detail::Value& value) noexcept;

}  // namespace Korvel::MessageTree
