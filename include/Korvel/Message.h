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
/// (`Map`). Log entries are made of it.
///
/// A Message owns its whole tree and shares nothing. Copies are deep, and so is construction from a
/// temporary; only move assignment transfers. Depth is bounded by memory alone: no operation
/// recurses far with it, so a deep tree is safe on a thread with a small stack.
///
/// Text. Narrow text is UTF-8, wide text is UTF-16 with one code unit in each `wchar_t`, on every
/// platform. Keys are kept wide, and values so that each form reads back exactly as strToWstr and
/// wstrToStr convert it; a narrow argument that strToWstr refuses fails on its way in. Where
/// `wchar_t` is wider than 16 bits, an element from 0x10000 to 0x10FFFF, such as the literal
/// `L"\U0001F600"` holds there, is split into its surrogate pair on its way in, so the narrow and
/// the wide form of one text are the same text and the same key. Any other element above 0xFFFF is
/// kept as it is and makes conversion and rendering fail.
///
/// Keys of a Map are unique and stand in ascending order of their code units, read as unsigned
/// numbers. That is the order of `std::wstring`, not of code points: U+1F600 (0xD83D 0xDE00) stands
/// before U+E000.
///
/// Every operation that takes a key has a narrow and a wide form. The narrow form converts the key
/// first, so a key that cannot be converted fails before the type is looked at.
///
/// Errors: WrongTypeException where the type does not fit, and nothing has changed then;
/// `std::range_error` "bad conversion" for text that cannot be converted; `std::bad_alloc`.
///
/// Threads: different objects may be used on different threads, and none waits for another. One
/// object must not be changed while another thread reads it.
class KORVEL_API Message {
public:
    /// A Null.
    Message() noexcept : value_{{Type::Null, {}}} {}

    /// A Boolean, of `bool` and of what converts to `bool` alone, such as `std::true_type`,
    /// `std::atomic<bool>` and an element of `std::vector<bool>`.
    template <class T, std::enable_if_t<Detail::isTruth<T>, int> = 0>
    Message(const T& value) noexcept(std::is_same_v<T, bool>) : value_{{Type::Boolean, {}}} {
        value_.plain.payload.boolean = value;
    }

    Message(std::int64_t value) noexcept : value_{{Type::Integer, {}}} {
        value_.plain.payload.integer = value;
    }
    /// A Double: the float widened, so 0.1f reads back as 0.10000000149011612.
    Message(float value) noexcept : Message(static_cast<double>(value)) {}
    Message(double value) noexcept : value_{{Type::Double, {}}} {
        value_.plain.payload.real = value;
    }

    /// Every other standard integer type gives an Integer too, `signed char` and `unsigned char`
    /// included. An unsigned value above 9223372036854775807 has no Integer: it throws
    /// `std::range_error` instead of becoming another number.
    template <class T, std::enable_if_t<Detail::isWholeNumber<T>, int> = 0>
    Message(T value) : Message(Detail::toInteger(value)) {}

    /// Everything else is an error of compilation: a character, a pointer that is no text, a null
    /// pointer, a view, a container of other values, a lambda.
    template <class T, std::enable_if_t<Detail::isForeign<T>, int> = 0>
    Message(const T&) = delete;  // No Message holds a value of this type: convert it first.

    /// A String of the text up to its first NUL. A null pointer throws `std::logic_error`.
    Message(const char* text);
    Message(const wchar_t* text);
    /// A String of the text up to its first NUL: what follows an embedded NUL is dropped. The
    /// argument is a `std::string` or of a class that converts to it, as a derived class does.
    template <class T, std::enable_if_t<Detail::isNarrowText<T>, int> = 0>
    Message(const T& text) : Message(static_cast<const std::string&>(text).c_str()) {}
    /// A String of the whole text, embedded NULs included, of `std::wstring` or such a class.
    ///
    /// Both are templates so that no brace list converts to a string on its way here: a list that
    /// was meant as a Map, with a value that no Message can hold, is an error of compilation.
    template <class T, std::enable_if_t<Detail::isWideText<T>, int> = 0>
    Message(const T& text)
        : Message(std::wstring_view(static_cast<const std::wstring&>(text)), Whole()) {}

    /// A Map, also of an empty argument. Of two entries that have the same key after conversion,
    /// the later one stands. Empty braces alone are a default construction and so a Null.
    Message(std::map<std::string, Message> entries);
    Message(std::map<std::wstring, Message> entries);
    Message(std::initializer_list<std::pair<std::string, Message>> entries);
    /// A template so that empty braces prefer the narrow form: clang takes two forms of the same
    /// rank for an ambiguity and refuses `message = {}`.
    template <class Key = std::wstring>
    Message(std::initializer_list<std::pair<Detail::NotDeduced<Key>, Message>> entries)
        : Message(WideKeys(), entries) {}

    /// A Vector that takes over the storage of `elements`.
    ///
    /// A list is best written `Message(std::vector<Message>{...})`, also inside another list: that
    /// has exactly these elements on every compiler. Braces alone can make a text or a Map of a
    /// short list, and compilers differ about a `std::vector<Message>` as the only element of
    /// another one. docs/values.md shows what they make.
    Message(std::vector<Message> elements);

    Message(const Message& source);
    /// A deep copy like the one from an lvalue: `source` stays as it is.
    Message(const Message&& source);

    /// A deep copy. `source` may be this Message or a value inside it.
    Message& operator=(const Message& source);
    /// Takes over the value. A String, Vector or Map leaves `source` Null; a Boolean, Double or
    /// Integer stays in `source` as well. `source` may be this Message or a value inside it, but
    /// not a value around it, which would then contain itself and never be freed.
    Message& operator=(Message&& source) noexcept {
        // Taken out first: the source may be a part of the tree that goes.
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

    bool isNull() const noexcept;
    bool isString() const noexcept;
    bool isBoolean() const noexcept;
    bool isDouble() const noexcept;
    bool isInteger() const noexcept;
    bool isVector() const noexcept;
    bool isMap() const noexcept;

    /// The getters convert nothing: getDouble of an Integer throws WrongTypeException.
    bool getBoolean() const;
    double getDouble() const;
    std::int64_t getInteger() const;
    std::wstring getWstring() const;
    /// The text as UTF-8, converted anew on every call.
    std::string getString() const;
    /// The containers, valid as long as this Message holds them.
    ///
    /// A Map makes the `std::map` at the first call, with an entry that shows each of its values.
    /// Later insertions and changes show in it, too. It costs far more than at, hasKey and forEach,
    /// which need no such map. A value has one address for operator[] and at, and may have another
    /// one in the `std::map`.
    const std::map<std::wstring, Message>& getMap() const;
    const std::vector<Message>& getVector() const;

    /// The value at `key` of a Map, inserted as Null if it is absent; a Null becomes an empty Map
    /// first. Throws WrongTypeException on any other type. The reference stays good as long as the
    /// Map lives.
    ///
    /// Literals and views, here and below, need no temporary string.
    Message& operator[](const std::string& key) { return element(std::string_view(key)); }
    Message& operator[](const std::wstring& key) { return element(std::wstring_view(key)); }
    template <class T, std::enable_if_t<Detail::isKey<T, char>, int> = 0>
    Message& operator[](const T& key) {
        return element(std::string_view(key));
    }
    template <class T, std::enable_if_t<Detail::isKey<T, wchar_t>, int> = 0>
    Message& operator[](const T& key) {
        return element(std::wstring_view(key));
    }
    /// A const Message inserts nothing, so it has no such operator: use at.
    template <class T, std::enable_if_t<Detail::isAnyKey<T>, int> = 0>
    const Message& operator[](const T& useAtInstead) const = delete;

    /// The element at `position` of a Vector. The position is not checked: it must be below size().
    /// The reference ends with the next push_back.
    Message& operator[](std::size_t position);
    const Message& operator[](std::size_t position) const;
    /// Characters, truth values and doubles are no positions.
    template <class T,
              std::enable_if_t<std::is_arithmetic_v<T> && !Detail::isWholeNumber<T>, int> = 0>
    void operator[](T position) const = delete;

    /// The value at `key` of a Map. Inserts nothing: an absent key throws `std::out_of_range`
    /// "invalid map<K, T> key". The reference stays good as long as the Map lives.
    const Message& at(const std::string& key) const {
        return Detail::required(find(std::string_view(key)));
    }
    const Message& at(const std::wstring& key) const {
        return Detail::required(find(std::wstring_view(key)));
    }
    template <class T, std::enable_if_t<Detail::isKey<T, char>, int> = 0>
    const Message& at(const T& key) const {
        return Detail::required(find(std::string_view(key)));
    }
    template <class T, std::enable_if_t<Detail::isKey<T, wchar_t>, int> = 0>
    const Message& at(const T& key) const {
        return Detail::required(find(std::wstring_view(key)));
    }
    template <class T, std::enable_if_t<Detail::isAnyKey<T>, int> = 0>
    Message& at(const T& key) {
        return const_cast<Message&>(static_cast<const Message&>(*this).at(key));
    }

    /// Whether a Map holds `key`. Throws WrongTypeException on any other type, also on a Null.
    bool hasKey(const std::string& key) const { return find(std::string_view(key)) != nullptr; }
    bool hasKey(const std::wstring& key) const { return find(std::wstring_view(key)) != nullptr; }
    template <class T, std::enable_if_t<Detail::isKey<T, char>, int> = 0>
    bool hasKey(const T& key) const {
        return find(std::string_view(key)) != nullptr;
    }
    template <class T, std::enable_if_t<Detail::isKey<T, wchar_t>, int> = 0>
    bool hasKey(const T& key) const {
        return find(std::wstring_view(key)) != nullptr;
    }

    /// Calls `action(std::wstring_view key, const Message& value)` for each entry of a Map, in the
    /// order of keys. Allocates nothing of its own. The key is good for the length of the call, and
    /// `action` must not change this Message. What it throws passes out.
    template <class Action>
    void forEach(Action&& action) const {
        const auto call = [](void* target, std::wstring_view key, const Message& value) {
            (*static_cast<std::remove_reference_t<Action>*>(target))(key, value);
        };
        visit(call, const_cast<void*>(static_cast<const void*>(std::addressof(action))));
    }

    /// The number of elements or entries; 0 for a Null and 1 for any scalar. Never throws.
    std::size_t size() const;

    /// Appends a deep copy to a Vector; the argument stays as it is and may be this Message or a
    /// value inside it. A Null does not become a Vector: it throws like every other type.
    void push_back(const Message& element);
    void push_back(Message&& element);

    /// The value as JSON text (RFC 8259) in UTF-8, byte for byte as docs/json.md tells.
    ///
    /// `pretty` false gives one line without white space; true gives line feeds and steps of two
    /// spaces. `indent` stands before a scalar, and before every line of a Vector or Map but its
    /// first. Doubles have six significant digits and the form of the global C++ locale; an
    /// infinity or a NaN gives the bare text of the platform's streams, which is not JSON.
    ///
    /// Throws `std::range_error` "bad conversion" for a text or key that wstrToStr refuses. Lone
    /// surrogates that it accepts leave bytes that are not UTF-8.
    std::string toJson(bool pretty, std::string indent) const;

    /// UTF-8 to UTF-16. By length: an embedded NUL passes through, and so does a byte order mark.
    ///
    /// It is lenient: it reads overlong forms, encoded surrogates, and forms of five and six bytes
    /// up to U+10FFFF. A text that lacks only the last byte of a character above U+FFFF ends in the
    /// high surrogate. Anything else that is not UTF-8 throws `std::range_error` "bad conversion".
    static std::wstring strToWstr(const std::string& text);

    /// UTF-16 to UTF-8. A lone low surrogate gets the three bytes of its own value, and a high
    /// surrogate at the end of the text the first byte of its pair. A high surrogate before
    /// anything but a low one throws `std::range_error` "bad conversion". Where `wchar_t` is wider
    /// than 16 bits, an element from 0x10000 to 0x10FFFF gives its four bytes and one outside
    /// 0 to 0x10FFFF throws.
    static std::string wstrToStr(const std::wstring& text);

private:
    friend class MessageAccess;

    using Type = Detail::Type;
    using Value = Detail::Value;
    struct TakeOver {};
    struct Whole {};
    struct WideKeys {};
    using Visitor = void (*)(void* target, std::wstring_view key, const Message& value);

    /// The one construction that transfers.
    Message(TakeOver, Message& source) noexcept : value_(source.take()) {}
    Message(std::wstring_view text, Whole);
    Message(WideKeys, std::initializer_list<std::pair<std::wstring, Message>> entries);

    /// The value, with what it owns: a text or a container leaves a Null, a scalar stays here.
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
