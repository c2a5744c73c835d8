// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "message/MapNode.h"

#include "message/text/Utf.h"

#include <algorithm>
#include <memory>
#include <thread>

namespace Korvel {
namespace {

/// Slots for keys that extenders and the handler add.
constexpr std::size_t SPARE_SLOTS = 4;

class SpinLock {
public:
    explicit SpinLock(std::atomic_flag& flag) noexcept : flag_(flag) {
        while (flag_.test_and_set(std::memory_order_acquire)) std::this_thread::yield();
    }
    SpinLock(const SpinLock&) = delete;
    SpinLock& operator=(const SpinLock&) = delete;
    ~SpinLock() { flag_.clear(std::memory_order_release); }

private:
    std::atomic_flag& flag_;
};

// The keys of a std::map.

std::wstring wide(ShortKey key) {
    return key.wide();
}

std::wstring wide(std::string_view key) {
    return Utf::decode(key);
}

std::wstring wide(std::wstring_view key) {
    return Utf::splitSupplementary(key);
}

void addAlias(MapNode::ShownMap& map, MapNode::Slot& slot) {
    Message& alias = map.try_emplace(map.end(), wide(slot.key))->second;
    MessageAccess::value(alias).plain = {Detail::Type::Alias, {.target = &slot.value}};
}

}  // namespace

MapNode* MapNode::create(std::size_t size) {
    if (size > MAX_SLOTS) return create(ShownMap());
    const std::size_t capacity = std::min(size + SPARE_SLOTS, MAX_SLOTS);
    return new (::operator new(sizeof(MapNode) + capacity * sizeof(Slot))) MapNode(capacity);
}

MapNode* MapNode::create(ShownMap entries) {
    auto map = std::make_unique<ShownMap>(std::move(entries));
    auto* const node = new (::operator new(sizeof(MapNode))) MapNode(0);
    node->shownMap_ = map.release();
    node->isIndexedBySlots_ = false;
    return node;
}

void MapNode::destroy(MapNode* node) noexcept {
    node->~MapNode();
    ::operator delete(node);
}

MapNode::~MapNode() {
    delete map();
    forEachSlot([](Slot& slot) { slot.~Slot(); });
    ::operator delete(overflow_);
}

std::size_t MapNode::footprint(std::size_t limit) const noexcept {
    // What a std::map keeps beside an entry.
    constexpr std::size_t LINKS = 4 * sizeof(void*);
    const std::size_t slots = overflow_ == nullptr ? capacity_ : MAX_SLOTS;
    std::size_t size = sizeof(MapNode) + slots * sizeof(Slot);
    if (map() == nullptr) return size;
    for (auto entry = map()->begin(); entry != map()->end() && size < limit; ++entry) {
        size += LINKS + sizeof *entry + entry->first.capacity() * sizeof(wchar_t);
    }
    return size;
}

const MapNode::ShownMap& MapNode::shownMap() const {
    if (const ShownMap* const made = map()) return *made;
    // Several readers can get here at the same time; the first one builds the map for all.
    const SpinLock lock(mapInWork_);
    if (map() == nullptr) {
        auto made = std::make_unique<ShownMap>();
        for (std::size_t i = 0; i < size_; ++i) addAlias(*made, *slot(order_[i]));
        shownMap_.store(made.release(), std::memory_order_release);
    }
    return *map();
}

const Message* MapNode::find(std::string_view key) const {
    if (const auto shortKey = ShortKey::of(key)) {
        const Message* const value = findInSlots(*shortKey);
        if (value != nullptr || isIndexedBySlots_) return value;
        return findInMap(*shortKey);
    }
    if (isIndexedBySlots_ && Utf::isWellFormed(key)) return nullptr;
    return find(Utf::decode(key));
}

const Message* MapNode::find(std::wstring_view key) const {
    if (const auto shortKey = ShortKey::of(key)) {
        const Message* const value = findInSlots(*shortKey);
        if (value != nullptr) return value;
    }
    return isIndexedBySlots_ ? nullptr : findInMap(key);
}

const Message* MapNode::findInSlots(ShortKey key) const noexcept {
    for (std::size_t i = 0; i < size_; ++i) {
        const Slot* const candidate = slot(i);
        if (candidate->key == key) return &candidate->value;
    }
    return nullptr;
}

template <class Key>
const Message* MapNode::findInMap(Key key) const {
    const auto entry = map()->find(wide(key));
    return entry == map()->end() ? nullptr : &MessageAccess::resolve(entry->second);
}

Message& MapNode::element(std::string_view key) {
    if (const auto shortKey = ShortKey::of(key)) return elementInSlots(*shortKey);
    return elementInMap(key);
}

Message& MapNode::element(std::wstring_view key) {
    if (const auto shortKey = ShortKey::of(key)) return elementInSlots(*shortKey);
    return elementInMap(key);
}

Message& MapNode::elementInSlots(ShortKey key) {
    // Search from the end, because keys often arrive in order.
    std::size_t position = size_;
    for (; position > 0; --position) {
        Slot& other = *slot(order_[position - 1]);
        if (other.key < key) break;
        if (other.key == key) return other.value;
    }
    if (!isIndexedBySlots_ || size_ == MAX_SLOTS) return elementInMap(key);
    return insert(position, key);
}

/// Once a key does not fit into the slots, all new keys go into the shown map.
template <class Key>
Message& MapNode::elementInMap(Key key) {
    std::wstring text = wide(key);
    shownMap();
    isIndexedBySlots_ = false;
    // Most keys are new, and emplace compares fewer keys than try_emplace for those.
    const auto entry = map()->emplace(std::move(text), Message()).first;
    return MessageAccess::resolve(entry->second);
}

/// Creates a slot with a Null at `position` in key order.
Message& MapNode::insert(std::size_t position, ShortKey key) {
    if (size_ == capacity_ && overflow_ == nullptr) {
        constexpr std::size_t SLOT_SIZE = sizeof(Slot);
        overflow_ = static_cast<Slot*>(::operator new((MAX_SLOTS - capacity_) * SLOT_SIZE));
    }
    Slot* const made = new (slot(size_)) Slot{key, Message()};
    if (map() != nullptr) addAlias(*map(), *made);
    // Nothing throws from here on.
    for (std::size_t i = size_; i > position; --i) order_[i] = order_[i - 1];
    order_[position] = size_++;
    return made->value;
}

}  // namespace Korvel
