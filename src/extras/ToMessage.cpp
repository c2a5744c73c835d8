// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/ToMessage.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <typeinfo>

#if __has_include(<cxxabi.h>)
#include <cxxabi.h>
#endif

namespace Korvel::Extras::Detail {
namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;
constexpr int MOST_NESTED = 16;

struct Range {
    unsigned low;
    unsigned high;

    bool contains(unsigned value) const { return value >= low && value <= high; }
};

constexpr Range HIGH_SURROGATES = {0xD800, 0xDBFF};
constexpr Range LOW_SURROGATES = {0xDC00, 0xDFFF};

/// What may follow the first byte of a character of several bytes.
struct Sequence {
    Range leads;
    /// Without overlong forms, surrogates and values above U+10FFFF.
    Range seconds;
    int followers;
};

constexpr Range FOLLOWERS = {0x80, 0xBF};
constexpr Sequence SEQUENCES[] = {
    {{0xC2, 0xDF}, FOLLOWERS, 1}, {{0xE0, 0xE0}, {0xA0, 0xBF}, 2},
    {{0xE1, 0xEC}, FOLLOWERS, 2}, {{0xED, 0xED}, {0x80, 0x9F}, 2},
    {{0xEE, 0xEF}, FOLLOWERS, 2}, {{0xF0, 0xF0}, {0x90, 0xBF}, 3},
    {{0xF1, 0xF3}, FOLLOWERS, 3}, {{0xF4, 0xF4}, {0x80, 0x8F}, 3},
};

void appendCodePoint(std::wstring& text, char32_t codePoint) {
    if (codePoint < 0x10000) {
        text.push_back(static_cast<wchar_t>(codePoint));
    } else {
        text.push_back(static_cast<wchar_t>(HIGH_SURROGATES.low + ((codePoint - 0x10000) >> 10)));
        text.push_back(static_cast<wchar_t>(LOW_SURROGATES.low + (codePoint & 0x3FF)));
    }
}

/// Reads the bytes after `lead`. Stops before a byte that cannot follow, so one U+FFFD replaces the
/// longest beginning of a character, as Unicode recommends (chapter 3.9, maximal subparts).
char32_t readFollowers(unsigned lead, std::string_view text, std::size_t& position) {
    for (const Sequence& sequence : SEQUENCES) {
        if (!sequence.leads.contains(lead)) continue;
        char32_t codePoint = lead & (0x3FU >> sequence.followers);
        Range accepted = sequence.seconds;
        for (int i = 0; i < sequence.followers; ++i) {
            if (position == text.size()) return REPLACEMENT;
            const auto byte = static_cast<unsigned char>(text[position]);
            if (!accepted.contains(byte)) return REPLACEMENT;
            codePoint = codePoint << 6 | (byte & 0x3FU);
            accepted = FOLLOWERS;
            ++position;
        }
        return codePoint;
    }
    return REPLACEMENT;
}

/// UTF-16 or UTF-32. Pairs of surrogates count in both, since a wide text of Korvel has them
/// whatever the size of `wchar_t`.
template <class Unit>
std::wstring decodeUnits(std::basic_string_view<Unit> text) {
    std::wstring decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto unit = static_cast<char32_t>(text[i]);
        const bool isPair = HIGH_SURROGATES.contains(unit) && i + 1 < text.size() &&
                            LOW_SURROGATES.contains(static_cast<char32_t>(text[i + 1]));
        if (isPair) {
            decoded.push_back(static_cast<wchar_t>(unit));
            decoded.push_back(static_cast<wchar_t>(text[++i]));
        } else if (HIGH_SURROGATES.contains(unit) || LOW_SURROGATES.contains(unit) ||
                   unit > 0x10FFFF) {
            appendCodePoint(decoded, REPLACEMENT);
        } else {
            appendCodePoint(decoded, unit);
        }
    }
    return decoded;
}

void eraseAll(std::string& text, std::string_view part) {
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at)) {
        text.erase(at, part.size());
    }
}

std::string getName(const std::type_info& type) {
#if __has_include(<cxxabi.h>)
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    return name ? name.get() : type.name();
#else
    std::string name = type.name();
    for (const char* keyword : {"class ", "struct ", "enum "}) eraseAll(name, keyword);
    return name;
#endif
}

/// The name without what belongs to one standard library: its inline namespaces and the class that
/// throw_with_nested derives from the exception.
std::string getPlainName(const std::type_info& type) {
    std::string name = getName(type);
    for (const char* space : {"__cxx11::", "__1::", "__fs::"}) eraseAll(name, space);
    for (const std::string_view wrapper : {"std::_Nested_exception<", "std::__nested<"}) {
        if (name.compare(0, wrapper.size(), wrapper) != 0 || name.back() != '>') continue;
        name.erase(0, wrapper.size());
        name.pop_back();
        if (name.back() == ' ') name.pop_back();
    }
    return name;
}

/// Only inside a catch clause.
std::string getCaughtName() {
#if __has_include(<cxxabi.h>)
    const std::type_info* type = abi::__cxa_current_exception_type();
    if (type != nullptr) return getPlainName(*type);
#endif
    return "unknown";
}

Message makeMap() {
    return Message(std::map<std::wstring, Message>{});
}

Message describe(const std::exception_ptr& thrown, int depth);

/// The null pointer is what throw_with_nested stores outside a catch clause; rethrowing it would
/// end the process.
void addNested(Message& description, const std::nested_exception* outer, int depth) {
    if (outer == nullptr || outer->nested_ptr() == nullptr) return;
    if (depth == MOST_NESTED) {
        description["nestedOmitted"] = true;
    } else {
        description["nested"] = describe(outer->nested_ptr(), depth + 1);
    }
}

Message describe(const std::exception& exception, int depth) {
    Message description = makeMap();
    description["type"] = getPlainName(typeid(exception));
    description["text"] = FromText::convert(exception.what());
    if (const auto* error = dynamic_cast<const std::system_error*>(&exception)) {
        description["code"] = fromError(error->code());
    }
    addNested(description, dynamic_cast<const std::nested_exception*>(&exception), depth);
    return description;
}

/// An exception that is not a std::exception. Only inside a catch clause.
Message describeCaught(Message text) {
    Message description = makeMap();
    description["type"] = getCaughtName();
    description["text"] = std::move(text);
    return description;
}

Message describe(const std::exception_ptr& thrown, int depth) {
    try {
        std::rethrow_exception(thrown);
    } catch (const std::exception& exception) {
        return describe(exception, depth);
    } catch (const std::nested_exception& outer) {
        Message description = describeCaught(Message());
        addNested(description, &outer, depth);
        return description;
    } catch (const char* text) {
        return describeCaught(FromText::convert(text));
    } catch (...) {
        return describeCaught(Message());
    }
}

template <class Error>
Message describeError(const Error& error) {
    Message description = makeMap();
    description["category"] = FromText::convert(error.category().name());
    description["text"] = FromText::convert(error.message());
    description["value"] = error.value();
    return description;
}

}  // namespace

std::wstring decode(std::string_view text) {
    std::wstring decoded;
    decoded.reserve(text.size());
    std::size_t position = 0;
    while (position < text.size()) {
        const auto byte = static_cast<unsigned char>(text[position++]);
        appendCodePoint(decoded, byte < 0x80 ? byte : readFollowers(byte, text, position));
    }
    return decoded;
}

std::wstring decode(std::wstring_view text) {
    return decodeUnits(text);
}

std::wstring decode(std::u16string_view text) {
    return decodeUnits(text);
}

std::wstring decode(std::u32string_view text) {
    return decodeUnits(text);
}

Message fromUnsigned(std::uint64_t value) {
    if (value > static_cast<std::uint64_t>((std::numeric_limits<std::int64_t>::max)())) {
        return Message(std::to_string(value));
    }
    return Message(static_cast<std::int64_t>(value));
}

Message fromError(const std::error_code& error) {
    return describeError(error);
}

Message fromError(const std::error_condition& error) {
    return describeError(error);
}

Message fromException(const std::exception& exception) {
    return describe(exception, 0);
}

Message fromException(const std::exception_ptr& exception) {
    return exception == nullptr ? Message() : describe(exception, 0);
}

void append(std::vector<Message>& elements, Message&& element) {
    if (elements.size() == elements.capacity()) {
        std::vector<Message> larger;
        larger.reserve(2 * elements.size() + 4);
        larger.resize(elements.size());
        std::move(elements.begin(), elements.end(), larger.begin());
        elements.swap(larger);
    }
    elements.emplace_back();
    elements.back() = std::move(element);
}

}  // namespace Korvel::Extras::Detail
