// The operations on whole trees. They recurse a few levels, which is what trees have and much the
// quickest, and no further, so that depth costs memory and not stack.

#include "message/MessageNodes.h"

namespace Korvel {
namespace {

constexpr unsigned DEEPEST_RECURSION = 16;

/// One level of recursion over containers on this thread.
class Descent {
public:
    Descent() noexcept : current_(depth()) { ++current_; }
    Descent(const Descent&) = delete;
    Descent& operator=(const Descent&) = delete;
    ~Descent() { --current_; }

    bool isTooDeep() const noexcept { return current_ > DEEPEST_RECURSION; }

private:
    static unsigned& depth() noexcept {
        thread_local unsigned current = 0;
        return current;
    }

    unsigned& current_;
};

}  // namespace

/// The containers that are still to be destroyed. Taking a Message in makes it Null, so the
/// destructors of elements and entries never find a container of their own.
struct Message::Teardown {
    VectorNode* vectors = nullptr;
    MapNode* maps = nullptr;

    void take(Message& message) noexcept {
        if (message.type() == Type::Vector) {
            message.value_.plain.slot.vector->next = vectors;
            vectors = message.value_.plain.slot.vector;
            message.become(Type::Null, {});
        } else if (message.type() == Type::Map) {
            message.value_.plain.slot.map->next = maps;
            maps = message.value_.plain.slot.map;
            message.become(Type::Null, {});
        }
    }

    void destroyVector() noexcept {
        VectorNode* const node = vectors;
        vectors = node->next;
        for (Message& element : node->elements) take(element);
        delete node;
    }

    void destroyMap() noexcept {
        MapNode* const node = maps;
        maps = node->next;
        node->forEachValue([this](Message& value) { take(value); });
        MapNode::destroy(node);
    }
};

void Message::reset() noexcept {
    if (type() == Type::Text) {
        TextNode::destroy(value_.plain.slot.text);
    } else if (type() == Type::WideText) {
        delete value_.plain.slot.wideText;
    } else if (isContainer()) {
        destroyContainer();
    }
    become(Type::Null, {});
}

void Message::destroyContainer() noexcept {
    const Descent descent;
    if (descent.isTooDeep()) {
        Teardown teardown;
        teardown.take(*this);
        while (teardown.vectors != nullptr || teardown.maps != nullptr) {
            if (teardown.vectors != nullptr) teardown.destroyVector();
            if (teardown.maps != nullptr) teardown.destroyMap();
        }
    } else if (isVector()) {
        delete value_.plain.slot.vector;
    } else {
        MapNode::destroy(value_.plain.slot.map);
    }
}

/// Copies a value that owns storage into this Null.
void Message::copyFrom(const Message& source) {
    if (!source.isContainer()) return copyText(source);
    const Descent descent;
    if (descent.isTooDeep()) {
        copyDeep(source);
    } else if (source.isVector()) {
        becomeVector(source.getVector());
    } else {
        const MapNode& node = *source.value_.plain.slot.map;
        becomeFlatMap(node.size()).copyFrom(node);
    }
}

/// Copies a container with a list of open ones instead of recursion.
void Message::copyDeep(const Message& source) {
    OpenCopies open;
    beginCopy(source, open);
    while (!open.empty()) {
        const auto [from, to] = open.back();
        open.pop_back();
        to->copyChildren(*from, open);
    }
}

/// Copies a value, but of a container no more than its type: that goes to `open`.
void Message::beginCopy(const Message& source, OpenCopies& open) {
    if (!source.isContainer()) {
        *this = source;
        return;
    }
    if (source.isVector()) {
        becomeVector({});
    } else {
        becomeFlatMap(source.value_.plain.slot.map->size());
    }
    open.emplace_back(&source, this);
}

void Message::copyChildren(const Message& source, OpenCopies& open) {
    if (isMap()) {
        value_.plain.slot.map->beginCopies(*source.value_.plain.slot.map, open);
        return;
    }
    const auto& from = source.getVector();
    auto& to = value_.plain.slot.vector->elements;
    to.resize(from.size());
    for (std::size_t i = 0; i < from.size(); ++i) to[i].beginCopy(from[i], open);
}

}  // namespace Korvel
