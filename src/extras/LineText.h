// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Message.h>

#include <string>
#include <string_view>

namespace Korvel::Extras::LineText {

enum class ColourSequences { Escape, Pass };

/// Appends text as UTF-8, in quotes if it needs them. What would act on a terminal is escaped.
void appendText(std::string& line, std::wstring_view text,
                ColourSequences sequences = ColourSequences::Escape);

/// Appends any value: a String as text, a Vector or Map as compact JSON in quotes, everything else
/// as JSON.
void appendValue(std::string& line, const Message& value, ColourSequences sequences);

}  // namespace Korvel::Extras::LineText
