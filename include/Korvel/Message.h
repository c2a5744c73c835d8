// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Export.h>
#include <Korvel/detail/MessageArguments.h>
#include <Korvel/detail/MessageValue.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Korvel {

/// A value shaped like a JSON document: nothing (`Null`), a text (`String`), a truth value
/// (`Boolean`), a number (`Double`, `Integer`), a list (`Vector`) or a map from text to values
/// (`Map`). Log entries are Messages.
///
/// A Message owns its entire tree and shares nothing. Copies are deep, and so is construction from
/// a temporary; only move assignment transfers ownership. Only memory limits the depth: recursion
/// is bounded, so a deep tree is safe on a thread with a small stack.
///
/// Text: narrow text is UTF-8, wide text is UTF-16 with one code unit per `wchar_t` on every
/// platform. Keys read back as wide text, and values in either form exactly as strToWstr and
/// wstrToStr convert them. A narrow argument that strToWstr rejects throws on input. Where
/// `wchar_t` is wider than 16 bits, an element from 0x10000 to 0x10FFFF, as in the literal
/// `L"\U0001F600"`, is split into its surrogate pair on input, so the narrow and wide forms of a
/// text are the same text and the same key. Any other element above 0xFFFF is stored unchanged and
/// makes conversion and rendering fail.
///
/// Keys of a Map are unique and in ascending order of their code units as unsigned numbers. This is
/// the order of `std::wstring`, not of code points: U+1F600 (0xD83D 0xDE00) precedes U+E000.
///
/// Every operation that takes a key has a narrow and a wide form. The narrow form converts the key
/// first, so a key that cannot be converted fails before the type is checked.
///
/// Errors: WrongTypeException if the type does not match, in which case nothing changes;
/// `std::range_error` "bad conversion" for text that cannot be converted; `std::bad_alloc`.
///
/// Threads: different objects may be used on different threads without waiting for each other. An
/// object must not be changed while another thread reads it.
class KORVEL_API Message {
public:
    /// A Null.
    Message() noexcept : value_{{Type::Null, {}}} {}

    /// A Boolean, from `bool` or a type that converts to `bool` alone, such as `std::true_type`,
    /// `std::atomic<bool>` or an element of `std::vector<bool>`.
    template <class T, std::enable_if_t<Detail::isTruth<T>, int> = 0>
    Message(const T& value) noexcept(std::is_same_v<T, bool>) : value_{{Type::Boolean, {}}} {
        value_.plain.payload.boolean = value;
    }

    /// A Double. The float is widened, so 0.1f reads back as 0.10000000149011612.
    Message(float value) noexcept : Message(static_cast<double>(value)) {}
    Message(double value) noexcept : value_{{Type::Double, {}}} {
        value_.plain.payload.real = value;
    }

    /// An Integer from any standard integer type, including `signed char` and `unsigned char`. An
    /// unsigned value above 9223372036854775807 does not fit and throws `std::range_error`.
    Message(std::int64_t value) noexcept : value_{{Type::Integer, {}}} {
        value_.plain.payload.integer = value;
    }
    template <class T, std::enable_if_t<Detail::isWholeNumber<T>, int> = 0>
    Message(T value) : Message(Detail::toInteger(value)) {}

    /// Everything else is a compile-time error: a character, a pointer that is not text, a null
    /// pointer, a view, a container of other values, a lambda.
    template <class T, std::enable_if_t<Detail::isForeign<T>, int> = 0>
    Message(const T&) = delete;  // No Message holds a value of this type: use Extras::toMessage.

    /// A String with the text up to its first NUL. A null pointer throws `std::logic_error`.
    Message(const char* text);
    Message(const wchar_t* text);
    /// A String with the text up to its first NUL; the text after an embedded NUL is dropped. The
    /// argument is a `std::string` or of a class that converts to it, such as a derived class.
    template <class T, std::enable_if_t<Detail::isNarrowText<T>, int> = 0>
    Message(const T& text) : Message(static_cast<const std::string&>(text).c_str()) {}
    /// A String with the entire text, including embedded NULs: a `std::wstring` or such a class.
    ///
    /// Both are templates to keep a brace list from converting to a string: a list meant as a Map,
    /// with a value that no Message can hold, is a compile-time error.
    template <class T, std::enable_if_t<Detail::isWideText<T>, int> = 0>
    Message(const T& text)
        : Message(std::wstring_view(static_cast<const std::wstring&>(text)), Whole()) {}

    /// A Map, even from an empty argument. If two entries have the same key after conversion, the
    /// later one wins. Empty braces alone are default construction and therefore a Null.
    Message(std::map<std::string, Message> entries);
    Message(std::map<std::wstring, Message> entries);
    Message(std::initializer_list<std::pair<std::string, Message>> entries);
    /// A template, so empty braces prefer the narrow form: with two forms of the same rank, clang
    /// rejects `message = {}` as ambiguous.
    template <class Key = std::wstring>
    Message(std::initializer_list<std::pair<Detail::NotDeduced<Key>, Message>> entries)
        : Message(WideKeys(), entries) {}

    /// A Vector that takes over the storage of `elements`.
    ///
    /// Write a list as `Message(std::vector<Message>{...})`, also inside another list: it has
    /// exactly these elements on every compiler. Braces alone can turn a short list into a String
    /// or a Map, and compilers differ on a `std::vector<Message>` as the only element of another
    /// one. docs/values.md shows the results.
    Message(std::vector<Message> elements);

    Message(const Message& source);  ///< A deep copy.
    /// A deep copy, as from an lvalue: `source` is unchanged.
    Message(const Message&& source);

    /// A deep copy. `source` may be this Message or a value inside it.
    Message& operator=(const Message& source);
    /// Takes over the value. A String, Vector or Map leaves `source` Null; a Boolean, Double or
    /// Integer also stays in `source`. `source` may be this Message or a value inside it, but not a
    /// value that contains it, which would then contain itself and never be freed.
    Message& operator=(Message&& source) noexcept {
        // Taken first: the source may be part of the tree that is destroyed.
        const Value taken = source.take();
        if (value_.isSelfContained()) {
            value_ = taken;
        } else {
            replace(taken);
        }
        return *this;
    }

    ~Message() {
        if (!value_.isSelfContained()) reset();
    }

    bool isNull() const noexcept;     ///< Whether this is a Null.
    bool isString() const noexcept;   ///< Whether this is a String.
    bool isBoolean() const noexcept;  ///< Whether this is a Boolean.
    bool isDouble() const noexcept;   ///< Whether this is a Double.
    bool isInteger() const noexcept;  ///< Whether this is an Integer.
    bool isVector() const noexcept;   ///< Whether this is a Vector.
    bool isMap() const noexcept;      ///< Whether this is a Map.

    /// The getters do not convert: getDouble of an Integer throws WrongTypeException.
    bool getBoolean() const;
    double getDouble() const;         ///< The number of a Double.
    std::int64_t getInteger() const;  ///< The number of an Integer.
    std::wstring getWstring() const;  ///< The text of a String as UTF-16.
    /// The text as UTF-8, as a new string on every call.
    std::string getString() const;
    /// The entries of a Map, valid while this Message holds them. The first call builds the
    /// `std::map`, and later insertions and changes appear in it. It costs far more than at, hasKey
    /// and forEach, and a value may have another address in it than operator[] and at return.
    const std::map<std::wstring, Message>& getMap() const;
    const std::vector<Message>& getVector() const;  ///< The elements, valid as those of getMap.

    /// Returns the value at `key` of a Map, inserted as Null if it is absent; a Null becomes an
    /// empty Map first. Throws WrongTypeException on any other type. The reference is valid as long
    /// as the Map exists. Literals and views need no temporary string, here and below.
    Message& operator[](const std::string& key) { return element(std::string_view(key)); }
    Message& operator[](const std::wstring& key) { return element(std::wstring_view(key)); }
    template <class T, std::enable_if_t<Detail::isKey<T, char>, int> = 0>
    Message& operator[](const T& key) {
        return element(Detail::keyOf<char>(key));
    }
    template <class T, std::enable_if_t<Detail::isKey<T, wchar_t>, int> = 0>
    Message& operator[](const T& key) {
        return element(Detail::keyOf<wchar_t>(key));
    }
    /// A const Message cannot insert, so it has no such operator: use at.
    const Message& operator[](const std::string& useAtInstead) const = delete;
    const Message& operator[](const std::wstring& useAtInstead) const = delete;
    template <class T, std::enable_if_t<Detail::isView<T>, int> = 0>
    const Message& operator[](const T& useAtInstead) const = delete;

    /// Returns the element at `position` of a Vector. The position is not checked: it must be below
    /// size(). The next push_back invalidates the reference.
    Message& operator[](std::size_t position);
    const Message& operator[](std::size_t position) const;
    /// Characters, truth values and doubles are not positions.
    template <class T,
              std::enable_if_t<std::is_arithmetic_v<T> && !Detail::isWholeNumber<T>, int> = 0>
    void operator[](T position) const = delete;

    /// Returns the value at `key` of a Map. Never inserts: an absent key throws `std::out_of_range`
    /// "invalid map<K, T> key". The reference is valid as long as the Map exists.
    const Message& at(const std::string& key) const {
        return Detail::required(find(std::string_view(key)));
    }
    const Message& at(const std::wstring& key) const {
        return Detail::required(find(std::wstring_view(key)));
    }
    template <class T, std::enable_if_t<Detail::isKey<T, char>, int> = 0>
    const Message& at(const T& key) const {
        return Detail::required(find(Detail::keyOf<char>(key)));
    }
    template <class T, std::enable_if_t<Detail::isKey<T, wchar_t>, int> = 0>
    const Message& at(const T& key) const {
        return Detail::required(find(Detail::keyOf<wchar_t>(key)));
    }
    template <class T, std::enable_if_t<Detail::isAnyKey<T>, int> = 0>
    Message& at(const T& key) {
        return const_cast<Message&>(static_cast<const Message&>(*this).at(key));
    }

    /// Whether a Map contains `key`. Throws WrongTypeException on any other type, including Null.
    bool hasKey(const std::string& key) const { return find(std::string_view(key)) != nullptr; }
    bool hasKey(const std::wstring& key) const { return find(std::wstring_view(key)) != nullptr; }
    template <class T, std::enable_if_t<Detail::isKey<T, char>, int> = 0>
    bool hasKey(const T& key) const {
        return find(Detail::keyOf<char>(key)) != nullptr;
    }
    template <class T, std::enable_if_t<Detail::isKey<T, wchar_t>, int> = 0>
    bool hasKey(const T& key) const {
        return find(Detail::keyOf<wchar_t>(key)) != nullptr;
    }

    /// Calls `action(std::wstring_view key, const Message& value)` for each entry of a Map, in key
    /// order. Does not allocate. The key is valid only during the call, and `action` must not
    /// change this Message. Exceptions from `action` propagate.
    template <class Action>
    void forEach(Action&& action) const {
        // By a pointer to the pointer: a pointer to a function does not convert to `void*`.
        auto* address = std::addressof(action);
        const auto call = [](void* target, std::wstring_view key, const Message& value) {
            (**static_cast<decltype(address)*>(target))(key, value);
        };
        visit(call, &address);
    }

    /// The number of elements or entries; 0 for a Null and 1 for any scalar. Never throws.
    std::size_t size() const;

    /// Appends a deep copy to a Vector; the argument is unchanged and may be this Message or a
    /// value inside it. A Null does not become a Vector: it throws like any other type.
    void push_back(const Message& element);
    void push_back(Message&& element);

    /// Returns the value as JSON text (RFC 8259) in UTF-8. docs/json.md defines the format.
    ///
    /// `pretty` adds line feeds and indentation in steps of two spaces; otherwise the text is one
    /// line without white space. `indent` precedes a scalar, and every child and closing bracket of
    /// a Vector or Map. Doubles have six significant digits and follow the global C++ locale; an
    /// infinity or a NaN is written as the platform's streams write it, which is not JSON.
    ///
    /// Throws `std::range_error` "bad conversion" for a text or key that wstrToStr rejects. Lone
    /// surrogates that it accepts become bytes that are not UTF-8.
    std::string toJson(bool pretty, std::string indent) const;

    /// Converts UTF-8 to UTF-16. An embedded NUL passes through, and so does a byte order mark.
    ///
    /// It accepts overlong forms, encoded surrogates, and forms of five and six bytes up to
    /// U+10FFFF. A text that lacks only the last byte of a character above U+FFFF ends in the high
    /// surrogate. Anything else that is not UTF-8 throws `std::range_error` "bad conversion".
    static std::wstring strToWstr(const std::string& text);

    /// Converts UTF-16 to UTF-8. A lone low surrogate becomes the three bytes of its value, and a
    /// high surrogate at the end of the text becomes the first byte of its pair. A high surrogate
    /// followed by anything but a low one throws `std::range_error` "bad conversion". Where
    /// `wchar_t` is wider than 16 bits, an element from 0x10000 to 0x10FFFF becomes its four bytes,
    /// and one outside 0 to 0x10FFFF throws.
    static std::string wstrToStr(const std::wstring& text);

private:
    friend class MessageAccess;

    using Type = Detail::Type;
    using Value = Detail::Value;
    struct TakeOver {};
    struct Whole {};
    struct WideKeys {};
    using Visitor = void (*)(void* target, std::wstring_view key, const Message& value);

    /// The only constructor that transfers ownership.
    Message(TakeOver, Message& source) noexcept : value_(source.take()) {}
    Message(std::wstring_view text, Whole);
    Message(WideKeys, std::initializer_list<std::pair<std::wstring, Message>> entries);

    /// Takes the value and what it owns. Text and containers leave a Null; a scalar stays.
    Value take() noexcept {
        if (value_.type() == Type::Alias) return value_.plain.payload.target->take();
        const Value taken = value_;
        if (taken.type() >= Type::ShortText) value_.plain = {Type::Null, {}};
        return taken;
    }
    void replace(const Value& taken) noexcept;
    void reset() noexcept;

    Message& element(std::string_view key);
    Message& element(std::wstring_view key);
    const Message* find(std::string_view key) const;
    const Message* find(std::wstring_view key) const;
    void visit(Visitor visitor, void* target) const;

    Value value_;
};

}  // namespace Korvel
