// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "message/MessageTree.h"

#include "message/MapNode.h"
#include "message/MessageAccess.h"
#include "message/MessageText.h"
#include "message/TextNode.h"
#include "message/VectorNode.h"

#include <utility>
#include <vector>

namespace Korvel::MessageTree {
namespace {

using Detail::Type;
using Detail::Value;

constexpr unsigned MAX_RECURSION = 16;

/// One level of recursion over containers on this thread.
class Descent {
public:
    Descent() noexcept : current_(depth()) { ++current_; }
    Descent(const Descent&) = delete;
    Descent& operator=(const Descent&) = delete;
    ~Descent() { --current_; }

    bool isTooDeep() const noexcept { return current_ > MAX_RECURSION; }

private:
    /// Out of line, because the compiler would look the variable up for each access.
    [[gnu::noinline]] static unsigned& depth() noexcept {
        thread_local unsigned current = 0;
        return current;
    }

    unsigned& current_;
};

/// The containers that are still to be destroyed. Each is taken out of its Message, so the
/// destructors of elements and slots never encounter a container.
class Teardown {
public:
    explicit Teardown(const Value& root) noexcept { add(root); }

    void run() noexcept {
        while (vectors_ != nullptr || maps_ != nullptr) {
            if (vectors_ != nullptr) destroyVector();
            if (maps_ != nullptr) destroyMap();
        }
    }

private:
    bool add(const Value& value) noexcept {
        if (value.type() == Type::Vector) {
            value.plain.payload.vector->next = std::exchange(vectors_, value.plain.payload.vector);
        } else if (value.type() == Type::Map) {
            value.plain.payload.map->next = std::exchange(maps_, value.plain.payload.map);
        } else {
            return false;
        }
        return true;
    }

    void take(Message& message) noexcept {
        Value& value = MessageAccess::value(message);
        if (add(value)) value.plain = {Type::Null, {}};
    }

    void destroyVector() noexcept {
        VectorNode* const node = std::exchange(vectors_, vectors_->next);
        for (Message& element : node->elements) take(element);
        delete node;
    }

    void destroyMap() noexcept {
        MapNode* const node = std::exchange(maps_, maps_->next);
        node->forEachOwned([this](Message& value) { take(value); });
        MapNode::destroy(node);
    }

    VectorNode* vectors_ = nullptr;
    MapNode* maps_ = nullptr;
};

/// Pairs of a source and a copy that does not have its children yet.
using OpenCopies = std::vector<std::pair<const Message*, Message*>>;

void makeEmptyLike(const Value& source, Value& copy) {
    if (source.type() == Type::Vector) {
        copy.plain = {Type::Vector, {.vector = new VectorNode}};
    } else {
        copy.plain = {Type::Map, {.map = MapNode::createLike(*source.plain.payload.map)}};
    }
}

/// Copies a value. Of a container it copies only the type and adds the rest to `open`.
void beginCopy(const Message& source, Message& copy, OpenCopies& open) {
    const Message& value = MessageAccess::resolve(source);
    if (MessageAccess::type(value) < Type::Vector) {
        copy = value;
        return;
    }
    makeEmptyLike(MessageAccess::value(value), MessageAccess::value(copy));
    open.emplace_back(&value, &copy);
}

void copyChildren(const Value& source, const Value& copy, OpenCopies& open) {
    const auto copyChild = [&open](const Message& from, Message& to) { beginCopy(from, to, open); };
    if (source.type() == Type::Map) {
        copy.plain.payload.map->copyEntries(*source.plain.payload.map, copyChild);
        return;
    }
    const auto& from = source.plain.payload.vector->elements;
    auto& to = copy.plain.payload.vector->elements;
    to.resize(from.size());
    for (std::size_t i = 0; i < from.size(); ++i) copyChild(from[i], to[i]);
}

void copyDeep(const Message& source, Message& copy) {
    OpenCopies open;
    beginCopy(source, copy, open);
    while (!open.empty()) {
        const auto [from, to] = open.back();
        open.pop_back();
        copyChildren(MessageAccess::value(*from), MessageAccess::value(*to), open);
    }
}

}  // namespace

void copy(const Message& source, Message& copy) {
    const Message& resolved = MessageAccess::resolve(source);
    const Value& from = MessageAccess::value(resolved);
    Value& to = MessageAccess::value(copy);
    if (from.isSelfContained()) {
        to = from;
    } else if (from.type() < Type::Vector) {
        MessageText::copy(from, to);
    } else if (const Descent descent; descent.isTooDeep()) {
        copyDeep(resolved, copy);
    } else if (makeEmptyLike(from, to); from.type() == Type::Vector) {
        // Not by the copy constructor, which leaks in some standard libraries if an element throws.
        to.plain.payload.vector->elements = from.plain.payload.vector->elements;
    } else {
        to.plain.payload.map->copyEntries(*from.plain.payload.map, MessageTree::copy);
    }
}

void destroy(const Value& value) noexcept {
    const auto& payload = value.plain.payload;
    if (value.type() == Type::Text) return TextNode::destroy(payload.text);
    if (value.type() == Type::WideText) {
        delete payload.wideText;
        return;
    }
    const Descent descent;
    if (descent.isTooDeep()) {
        Teardown(value).run();
    } else if (value.type() == Type::Vector) {
        delete payload.vector;
    } else {
        MapNode::destroy(payload.map);
    }
}

}  // namespace Korvel::MessageTree
