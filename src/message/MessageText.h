// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "message/TextNode.h"

#include <Korvel/detail/MessageValue.h>

#include <cstddef>
#include <string>
#include <string_view>

/// Storage of text in a value. Narrow input and JSON output are more frequent than reads of code
/// units, so every text that UTF-8 can restore is stored as UTF-8.
namespace Korvel::MessageText {

/// Turns the Null `copy` into a copy of a text that owns storage.
void copy(const Detail::Value& source, Detail::Value& copy);

inline bool isShort(const Detail::Value& value) noexcept {
    return value.type() >= Detail::Type::ShortText && value.type() < Detail::Type::Text;
}

/// The sixteen bytes of a short text: the type, the text and zero padding.
inline const char* shortBlock(const Detail::Value& value) noexcept {
    return reinterpret_cast<const char*>(&value.brief);
}

inline std::string_view shortText(const Detail::Value& value) noexcept {
    const auto base = static_cast<std::size_t>(Detail::Type::ShortText);
    return {value.brief.bytes, static_cast<std::size_t>(value.type()) - base};
}

/// A text that is not wide.
inline std::string_view narrow(const Detail::Value& value) noexcept {
    if (isShort(value)) return shortText(value);
    return {value.plain.payload.text->bytes(), value.plain.payload.text->size};
}

}  // namespace Korvel::MessageText
