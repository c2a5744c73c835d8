// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Message.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Bench {

/// The size of each long text in bytes of UTF-8.
inline constexpr std::size_t TEXT_BYTES = 65'536;
inline constexpr std::size_t LIST_SIZE = 4096;

/// ASCII prose with nothing to escape.
std::string asciiText();

/// Words of several scripts, with characters of two, three and four bytes, separated by spaces.
std::string mixedText();

/// Text in which every third or fourth character needs an escape.
std::string escapedText();

/// Integers of both signs and every number of digits.
std::vector<std::int64_t> integers();

/// Durations, ratios, prices, and a few very large and very small numbers.
std::vector<double> doubles();

/// Adds fixed versions of the values that extenders and handler add to a payload.
inline constexpr const char* TIMESTAMP = "2026-11-22T18:03:11.204Z";
inline constexpr const char* THREAD = "140737345963584";

/// A complete entry as a sink receives it.
Korvel::Message korvelEntry();

}  // namespace Bench
