// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/WellFormedSink.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Korvel::Extras {
namespace {

constexpr wchar_t REPLACEMENT = L'\uFFFD';
constexpr const wchar_t* CUT = L"\u2026";
/// How many levels deep the inspection calls itself; deeper containers wait in a list.
constexpr unsigned MAX_CALLS = 16;

constexpr std::uint64_t NOT_ASCII = 0x8080808080808080;
/// The bits that a code unit below 0x800 does not have, in each unit of a word.
constexpr std::uint64_t NOT_SHORT = sizeof(wchar_t) == 2 ? 0xF800F800F800F800 : 0xFFFFF800FFFFF800;

std::uint64_t wordAt(const void* units) noexcept {
    std::uint64_t word;
    std::memcpy(&word, units, sizeof word);
    return word;
}

/// Whether no unit of `text` has one of the bits `mask`. Most texts pass, so it reads words; the
/// last one overlaps the one before.
template <class Unit>
bool lacksBits(std::basic_string_view<Unit> text, std::uint64_t mask) noexcept {
    constexpr std::size_t PER_WORD = sizeof(std::uint64_t) / sizeof(Unit);
    const Unit* const begin = text.data();
    std::uint64_t bits = 0;
    if (text.size() < PER_WORD) {
        for (const Unit unit : text) bits |= static_cast<std::make_unsigned_t<Unit>>(unit);
        return (bits & mask) == 0;
    }
    const std::size_t last = text.size() - PER_WORD;
    for (std::size_t i = 0; i < last; i += PER_WORD) bits |= wordAt(begin + i);
    return ((bits | wordAt(begin + last)) & mask) == 0;
}

/// The number of units of the character at `position`; 0 if none starts there.
std::size_t lengthAt(std::wstring_view text, std::size_t position) noexcept {
    const auto unitAt = [text](std::size_t at) {
        return static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<wchar_t>>(text[at]));
    };
    const std::uint32_t unit = unitAt(position);
    if ((unit & 0xFFFFF800) != 0xD800) return unit <= 0x10FFFF ? 1 : 0;
    const bool isPair = unit < 0xDC00 && position + 1 < text.size() &&
                        (unitAt(position + 1) & 0xFFFFFC00) == 0xDC00;
    return isPair ? 2 : 0;
}

bool isWellFormed(std::wstring_view text) noexcept {
    if (lacksBits(text, NOT_SHORT)) return true;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = lengthAt(text, i);
        if (length == 0) return false;
        i += length;
    }
    return true;
}

std::wstring repairedText(std::wstring_view text) {
    std::wstring repaired;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = lengthAt(text, i);
        if (length == 0) {
            repaired += REPLACEMENT;
        } else {
            repaired += text.substr(i, length);
        }
        i += (std::max)(length, std::size_t{1});
    }
    return repaired;
}

/// Whether `text`, which wstrToStr has made, comes from wide text without a lone surrogate. It
/// throws for most; of the others, a low one leaves three bytes from ED A0 on, and a high one at
/// the end leaves a first byte without the rest.
bool isWellFormed(const std::string& text) noexcept {
    constexpr unsigned char FIRST_OF_FOUR = 0xF0;
    constexpr unsigned char FIRST_OF_SURROGATE = 0xED;
    if (lacksBits(std::string_view(text), NOT_ASCII)) return true;
    if (static_cast<unsigned char>(text.back()) >= FIRST_OF_FOUR) return false;
    const auto isSurrogate = [&text](std::size_t at) {
        return static_cast<unsigned char>(text[at + 1]) >= 0xA0;
    };
    for (std::size_t at = 0;; at += 3) {
        at = text.find(static_cast<char>(FIRST_OF_SURROGATE), at);
        if (at == std::string::npos) return true;
        if (isSurrogate(at)) return false;
    }
}

bool isContainer(const Message& value) {
    return value.isMap() || value.isVector();
}

/// Looks for the first fault of a tree. Deep containers wait in a list instead of on the
/// stack.
class Inspection {
public:
    explicit Inspection(std::size_t maxDepth) : maxDepth_(maxDepth) {}

    bool isClean(const Message& message) try {
        lookAt(message, 1, MAX_CALLS);
        while (isClean_ && !waiting_.empty()) {
            const auto [container, depth] = waiting_.back();
            waiting_.pop_back();
            lookInto(*container, depth, MAX_CALLS);
        }
        return isClean_;
    } catch (const std::range_error&) {
        // getString has met a lone surrogate or an element that UTF-8 does not have.
        return false;
    }

private:
    /// The most frequent types come first: each question is a call into the core.
    void lookAt(const Message& value, std::size_t depth, unsigned callsLeft) {
        if (value.isString()) {
            isClean_ = isWellFormed(value.getString());
        } else if (value.isInteger()) {
            return;
        } else if (value.isDouble()) {
            isClean_ = std::isfinite(value.getDouble());
        } else if (isContainer(value)) {
            descend(value, depth, callsLeft);
        }
    }

    void descend(const Message& container, std::size_t depth, unsigned callsLeft) {
        if (depth > maxDepth_) {
            isClean_ = false;
        } else if (callsLeft == 0) {
            waiting_.emplace_back(&container, depth);
        } else {
            lookInto(container, depth, callsLeft - 1);
        }
    }

    void lookInto(const Message& container, std::size_t depth, unsigned callsLeft) {
        if (container.isMap()) {
            container.forEach([&](std::wstring_view key, const Message& value) {
                if (!isClean_) return;
                isClean_ = isWellFormed(key);
                if (isClean_) lookAt(value, depth + 1, callsLeft);
            });
            return;
        }
        for (const Message& element : container.getVector()) {
            if (!isClean_) return;
            lookAt(element, depth + 1, callsLeft);
        }
    }

    const std::size_t maxDepth_;
    bool isClean_ = true;
    std::vector<std::pair<const Message*, std::size_t>> waiting_;
};

/// Copies a tree without its faults, from the root down and with a list instead of the stack.
class Repair {
public:
    explicit Repair(std::size_t maxDepth) : maxDepth_(maxDepth) {}

    Message copyOf(const Message& message) {
        Message copy;
        copyValue(message, copy, 1);
        while (!waiting_.empty()) {
            const Task task = waiting_.back();
            waiting_.pop_back();
            if (task.source->isMap()) {
                copyEntries(task);
            } else {
                copyElements(task);
            }
        }
        return copy;
    }

    std::uint64_t numberedKeys = 0;
    std::uint64_t cutContainers = 0;

private:
    struct Task {
        const Message* source;
        Message* copy;
        std::size_t depth;
    };

    /// Sets `copy`, which is Null; a container is only put on the list.
    void copyValue(const Message& source, Message& copy, std::size_t depth) {
        if (source.isString()) {
            const std::wstring text = source.getWstring();
            copy = isWellFormed(text) ? source : Message(repairedText(text));
        } else if (source.isDouble()) {
            if (std::isfinite(source.getDouble())) copy = source;
        } else if (!isContainer(source)) {
            copy = source;
        } else if (depth <= maxDepth_) {
            waiting_.push_back({&source, &copy, depth});
        } else {
            copy = CUT;
            ++cutContainers;
        }
    }

    void copyElements(const Task& task) {
        const std::vector<Message>& elements = task.source->getVector();
        *task.copy = std::vector<Message>(elements.size());
        for (std::size_t i = 0; i < elements.size(); ++i) {
            copyValue(elements[i], (*task.copy)[i], task.depth + 1);
        }
    }

    /// Correct keys come first, so that no repaired key takes the place of one.
    void copyEntries(const Task& task) {
        Message& copy = *task.copy;
        copy = std::map<std::wstring, Message>();
        task.source->forEach([&](std::wstring_view key, const Message& value) {
            if (isWellFormed(key)) copyValue(value, copy[std::wstring(key)], task.depth + 1);
        });
        std::map<std::wstring, std::size_t> numbers;
        task.source->forEach([&](std::wstring_view key, const Message& value) {
            if (isWellFormed(key)) return;
            copyValue(value, copy[freeKey(copy, repairedText(key), numbers)], task.depth + 1);
        });
    }

    /// `key`, with a number if `map` has it. `numbers` keeps the last number of each key, so that
    /// many equal ones do not take quadratic time.
    std::wstring freeKey(const Message& map, const std::wstring& key,
                         std::map<std::wstring, std::size_t>& numbers) {
        if (!map.hasKey(key)) return key;
        ++numberedKeys;
        std::size_t& number = numbers[key];
        std::wstring numbered;
        do {
            numbered = key + L'_' + std::to_wstring(++number);
        } while (map.hasKey(numbered));
        return numbered;
    }

    const std::size_t maxDepth_;
    std::vector<Task> waiting_;
};

}  // namespace

WellFormedSink::WellFormedSink(std::shared_ptr<Sink> target, WellFormedSinkOptions options)
    : target_(std::move(target)), options_(std::move(options)) {
    options_.maxDepth = (std::max)(options_.maxDepth, std::size_t{1});
    options_.mark = repairedText(options_.mark);
}

WellFormedSink::~WellFormedSink() = default;

void WellFormedSink::flush() {
    if (target_ != nullptr) target_->flush();
}

void WellFormedSink::append(const Message& message) {
    if (target_ == nullptr) return;
    if (Inspection(options_.maxDepth).isClean(message)) {
        target_->append(message);
    } else {
        target_->append(repair(message));
    }
}

Message WellFormedSink::repair(const Message& message) {
    Repair repair(options_.maxDepth);
    Message copy = repair.copyOf(message);
    if (!options_.mark.empty() && copy.isMap()) copy[options_.mark] = true;
    repairedEntries_.fetch_add(1, std::memory_order_relaxed);
    numberedKeys_.fetch_add(repair.numberedKeys, std::memory_order_relaxed);
    cutContainers_.fetch_add(repair.cutContainers, std::memory_order_relaxed);
    return copy;
}

WellFormedSinkState WellFormedSink::state() const noexcept {
    return {repairedEntries_.load(std::memory_order_relaxed),
            numberedKeys_.load(std::memory_order_relaxed),
            cutContainers_.load(std::memory_order_relaxed)};
}

}  // namespace Korvel::Extras
