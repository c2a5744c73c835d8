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

/// Prose of one byte a character, without anything to escape.
std::string asciiText();

/// Words of several scripts, with characters of two, three and four bytes among spaces.
std::string mixedText();

/// Text in which every third or fourth character needs an escape.
std::string escapedText();

/// Of both signs and of every number of digits.
std::vector<std::int64_t> integers();

/// Durations, ratios, prices, and a few very large and very small ones.
std::vector<double> doubles();

/// The values that extenders and handler add to a payload, fixed.
inline constexpr const char* TIMESTAMP = "2026-11-22T18:03:11.204Z";
inline constexpr const char* THREAD = "140737345963584";

/// A whole entry as a sink gets it.
Korvel::Message korvelEntry();

}  // namespace Bench
