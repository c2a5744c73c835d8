// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Extras/detail/ConvertibleTypes.h>
#include <Korvel/Functions.h>

#include <limits>
#include <map>
#include <memory>
#include <vector>

/// How toMessage converts each kind of type. Internal: not for users.
namespace Korvel::Extras::Detail {

/// A reference to a value of any type, and the function that converts it. A function that takes it
/// loses against every toMessage of a user, even one that takes a base class.
class AnyValue {
public:
    template <class T>
    AnyValue(const T& value);

    Message message() const { return convert_(address_); }

private:
    const void* address_ = nullptr;
    Message (*convert_)(const void* address) = nullptr;
};

/// The text in UTF-16, with U+FFFD for what is not Unicode.
KORVEL_EXTRAS_API std::wstring decode(std::string_view text);
KORVEL_EXTRAS_API std::wstring decode(std::wstring_view text);
KORVEL_EXTRAS_API std::wstring decode(std::u16string_view text);
KORVEL_EXTRAS_API std::wstring decode(std::u32string_view text);
#ifdef __cpp_char8_t
inline std::wstring decode(std::u8string_view text) {
    return decode(std::string_view(reinterpret_cast<const char*>(text.data()), text.size()));
}
#endif

KORVEL_EXTRAS_API Message fromUnsigned(std::uint64_t value);
KORVEL_EXTRAS_API Message fromError(const std::error_code& error);
KORVEL_EXTRAS_API Message fromError(const std::error_condition& error);
KORVEL_EXTRAS_API Message fromException(const std::exception& exception);
KORVEL_EXTRAS_API Message fromException(const std::exception_ptr& exception);
/// Moves `element` to the end. A vector that grows by itself copies its Messages.
KORVEL_EXTRAS_API void append(std::vector<Message>& elements, Message&& element);

/// How many elements of a range are still wanted, and how many were not.
struct Limit {
    bool admits() {
        if (wanted == 0) ++omitted;
        return wanted > 0 && wanted-- > 0;
    }

    std::size_t wanted = (std::numeric_limits<std::size_t>::max)();
    std::int64_t omitted = 0;
};

template <class... T>
struct Types {};

template <class T>
struct Arguments;
template <template <class...> class Template, class... T>
struct Arguments<Template<T...>> {
    using Parts = Types<std::remove_cv_t<std::remove_reference_t<T>>...>;
};

template <class... T>
Message listOf(const T&... values) {
    std::vector<Message> elements;
    elements.reserve(sizeof...(values));
    (append(elements, AnyValue(values).message()), ...);
    return Message(std::move(elements));
}

template <class T, class Action>
void forEachElement(const T& range, const Action& action) {
    std::conditional_t<std::is_const_v<Iterated<T>>, const T&, T> elements(range);
    Iteration::forEach(elements, action);
}

/// A null pointer is an empty key; a text that fills its array has no NUL.
template <class T>
std::wstring wideText(const T& text) {
    if constexpr (std::is_array_v<T>) {
        const Text<T> whole(text, std::extent_v<T>);
        return decode(whole.substr(0, whole.find(typename Text<T>::value_type())));
    } else {
        if constexpr (std::is_pointer_v<T>) {
            if (text == nullptr) return std::wstring();
        }
        return decode(static_cast<Text<T>>(text));
    }
}

/// Every converter has the types of the parts that it converts in turn, and `convert`.
struct Leaf {
    template <class T>
    using Parts = Types<>;
};

struct FromUnknown : Leaf {};

struct FromOwn : Leaf {
    template <class T>
    static Message convert(const T& value) {
        return Lookup::call(value);
    }
};

struct FromNull : Leaf {
    template <class T>
    static Message convert(const T&) {
        return Message();
    }
};

struct FromNumber : Leaf {
    template <class T>
    static Message convert(const T& value) {
        if constexpr (std::is_floating_point_v<T>) {
            return Message(static_cast<double>(value));
        } else if constexpr (std::is_unsigned_v<T> && sizeof(T) == sizeof(std::uint64_t)) {
            return fromUnsigned(value);
        } else {
            return Message(value);
        }
    }
};

struct FromEnumerator : Leaf {
    /// Promoted, because an enumeration can be based on char or bool.
    template <class T>
    static Message convert(const T& value) {
        return FromNumber::convert(+static_cast<std::underlying_type_t<T>>(value));
    }
};

struct FromCharacter : Leaf {
    template <class T>
    static Message convert(const T& value) {
        return Message(decode(std::basic_string_view<T>(std::addressof(value), 1)));
    }
};

struct FromText : Leaf {
    template <class T>
    static Message convert(const T& value) {
        if constexpr (std::is_pointer_v<T>) {
            if (value == nullptr) return Message();
        }
        return Message(wideText(value));
    }
};

struct FromPath : Leaf {
    static Message convert(const std::filesystem::path& path) {
        return Message(decode(path.native()));
    }
};

struct FromTime : Leaf {
    template <class T>
    static Message convert(const T& time) {
        return Message(createIso8601String(toSystemTime(time)));
    }
};

struct FromError : Leaf {
    template <class T>
    static Message convert(const T& error) {
        return fromError(error);
    }
};

struct FromException : Leaf {
    template <class T>
    static Message convert(const T& exception) {
        return fromException(exception);
    }
};

/// Whatever else converts to Message, such as `std::atomic<bool>`.
struct FromConvertible : Leaf {
    template <class T>
    static Message convert(const T& value) {
        return value;
    }
};

/// A class that is made to convert to Message, even if it is also a text or a range.
struct FromMessage : FromConvertible {};

struct FromDuration {
    template <class T>
    using Parts = Types<typename T::rep>;

    template <class T>
    static Message convert(const T& duration) {
        return AnyValue(duration.count()).message();
    }
};

struct FromOptional {
    template <class T>
    using Parts = typename Arguments<T>::Parts;

    template <class T>
    static Message convert(const T& value) {
        return value ? AnyValue(*value).message() : Message();
    }
};

struct FromVariant {
    template <class T>
    using Parts = typename Arguments<T>::Parts;

    template <class T>
    static Message convert(const T& value) {
        if (value.valueless_by_exception()) return Message();
        return std::visit([](const auto& held) { return AnyValue(held).message(); }, value);
    }
};

struct FromTuple {
    template <class T>
    using Parts = typename Arguments<T>::Parts;

    template <class T>
    static Message convert(const T& value) {
        return std::apply([](const auto&... parts) { return listOf(parts...); }, value);
    }
};

/// What `first` can limit.
struct Collection {};

struct FromMap : Collection {
    template <class T>
    using Parts = Types<typename T::mapped_type>;

    template <class T>
    static Message convert(const T& map) {
        Limit none;
        return convert(map, none);
    }
    template <class T>
    static Message convert(const T& map, Limit& limit) {
        Message result(std::map<std::wstring, Message>{});
        forEachElement(map, [&](const auto& entry) {
            if (!limit.admits()) return;
            result[wideText(entry.first)] = AnyValue(entry.second).message();
        });
        return result;
    }
};

struct FromCharacters : Leaf {
    template <class T>
    static Message convert(const T& range) {
        std::basic_string<Element<T>> text;
        forEachElement(range, [&](auto character) { text.push_back(character); });
        return Message(decode(text));
    }
};

struct FromRange : Collection {
    template <class T>
    using Parts = Types<Element<T>>;

    template <class T>
    static Message convert(const T& range) {
        Limit none;
        return convert(range, none);
    }
    template <class T>
    static Message convert(const T& range, Limit& limit) {
        std::vector<Message> elements;
        forEachElement(range, [&](const auto& element) {
            if (limit.admits()) append(elements, AnyValue(element).message());
        });
        return Message(std::move(elements));
    }
};

template <class Converter, class T>
Message firstOf(std::size_t most, const T& collection) {
    Limit limit{most};
    Message result(std::map<std::wstring, Message>{});
    result["first"] = Converter::convert(collection, limit);
    result["omitted"] = limit.omitted;
    return result;
}

}  // namespace Korvel::Extras::Detail
