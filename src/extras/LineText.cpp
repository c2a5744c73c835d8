// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "extras/LineText.h"

namespace Korvel::Extras {
namespace {

using LineText::ColourSequences;

constexpr int MAX_DEPTH = 64;
constexpr char32_t REPLACEMENT = 0xFFFD;
constexpr char32_t LAST_CODE_POINT = 0x10FFFF;

bool isBetween(char32_t first, char32_t c, char32_t last) noexcept {
    return c >= first && c <= last;
}

/// Whether a terminal would act on the character instead of showing it, or UTF-8 does not have it.
bool isControl(char32_t c) noexcept {
    return c < 0x20 || isBetween(0x7F, c, 0x9F) ||  // C0, DEL and C1.
           c == 0x061C || isBetween(0x200E, c, 0x200F) || isBetween(0x202A, c, 0x202E) ||
           isBetween(0x2066, c, 0x2069) ||  // Direction of text.
           isBetween(0x2028, c, 0x2029) ||  // Line and paragraph separators.
           isBetween(0xD800, c, 0xDFFF) || c > LAST_CODE_POINT;
}

/// Removes one code point from the front. A lone surrogate is returned as it is.
char32_t takeFront(std::wstring_view& text) noexcept {
    const auto unit = static_cast<char32_t>(text.front());
    text.remove_prefix(1);
    if (!isBetween(0xD800, unit, 0xDBFF) || text.empty()) return unit;
    const auto low = static_cast<char32_t>(text.front());
    if (!isBetween(0xDC00, low, 0xDFFF)) return unit;
    text.remove_prefix(1);
    return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
}

void appendUtf8(std::string& line, char32_t c) {
    const auto last = [&](int shift) { line += static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
    if (c < 0x80) {
        line += static_cast<char>(c);
        return;
    }
    if (c < 0x800) {
        line += static_cast<char>(0xC0 | (c >> 6));
    } else {
        if (c < 0x10000) {
            line += static_cast<char>(0xE0 | (c >> 12));
        } else {
            line += static_cast<char>(0xF0 | (c >> 18));
            last(12);
        }
        last(6);
    }
    last(0);
}

/// The escapes are those of JSON, so JSON text can be made from them, too.
void appendEscape(std::string& line, char32_t c) {
    switch (c) {
    case '\n':
        line += "\\n";
        return;
    case '\r':
        line += "\\r";
        return;
    case '\t':
        line += "\\t";
        return;
    case '"':
        line += "\\\"";
        return;
    case '\\':
        line += "\\\\";
        return;
    default:
        break;
    }
    if (c > LAST_CODE_POINT) c = REPLACEMENT;
    line += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) line += "0123456789abcdef"[(c >> shift) & 0xF];
}

/// The length of the colour sequence at the front, or 0.
std::size_t colourSequence(std::wstring_view text) noexcept {
    if (text.substr(0, 2) != L"\x1b[") return 0;
    const std::size_t end = text.find_first_not_of(L"0123456789;:", 2);
    return end != std::wstring_view::npos && text[end] == L'm' ? end + 1 : 0;
}

/// Returns whether the text needs quotes.
bool appendEscaped(std::string& line, std::wstring_view text, ColourSequences sequences) {
    bool needsQuotes = text.empty();
    bool hasSequence = false;
    while (!text.empty()) {
        const std::size_t passed = sequences == ColourSequences::Pass ? colourSequence(text) : 0;
        if (passed > 0) {
            for (const wchar_t c : text.substr(0, passed)) line += static_cast<char>(c);
            text.remove_prefix(passed);
            hasSequence = true;
            continue;
        }
        const char32_t c = takeFront(text);
        if (isControl(c) || c == '"' || c == '\\') {
            appendEscape(line, c);
            needsQuotes = true;
        } else {
            appendUtf8(line, c);
            needsQuotes = needsQuotes || c == ' ' || c == '=';
        }
    }
    if (hasSequence) line += "\x1b[0m";
    return needsQuotes;
}

void appendJson(std::string& json, const Message& value, int depth);

void appendJsonText(std::string& json, std::wstring_view text) {
    json += '"';
    appendEscaped(json, text, ColourSequences::Escape);
    json += '"';
}

void appendJsonVector(std::string& json, const Message& value, int depth) {
    json += '[';
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (i > 0) json += ',';
        appendJson(json, value[i], depth);
    }
    json += ']';
}

void appendJsonMap(std::string& json, const Message& value, int depth) {
    json += '{';
    bool isFirst = true;
    value.forEach([&](std::wstring_view key, const Message& child) {
        if (!isFirst) json += ',';
        isFirst = false;
        appendJsonText(json, key);
        json += ':';
        appendJson(json, child, depth);
    });
    json += '}';
}

/// Unlike Message::toJson, accepts every text. `depth` limits the recursion.
void appendJson(std::string& json, const Message& value, int depth) {
    if (depth == MAX_DEPTH) {
        json += "\"...\"";
    } else if (value.isString()) {
        appendJsonText(json, value.getWstring());
    } else if (value.isVector()) {
        appendJsonVector(json, value, depth + 1);
    } else if (value.isMap()) {
        appendJsonMap(json, value, depth + 1);
    } else {
        json += value.toJson(false, std::string());
    }
}

}  // namespace

void LineText::appendText(std::string& line, std::wstring_view text, ColourSequences sequences) {
    const std::size_t begin = line.size();
    line += '"';
    if (appendEscaped(line, text, sequences)) {
        line += '"';
    } else {
        line.erase(begin, 1);
    }
}

void LineText::appendValue(std::string& line, const Message& value, ColourSequences sequences) {
    if (value.isString()) {
        appendText(line, value.getWstring(), sequences);
        return;
    }
    std::string json;
    appendJson(json, value, 0);
    if (!value.isVector() && !value.isMap()) {
        line += json;
        return;
    }
    line += '"';
    for (const char c : json) {
        if (c == '"' || c == '\\') line += '\\';
        line += c;
    }
    line += '"';
}

}  // namespace Korvel::Extras
