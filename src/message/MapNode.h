// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "message/MessageAccess.h"
#include "message/ShortKey.h"

#include <Korvel/Message.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace Korvel {

/// The storage of a Map.
///
/// A value lives in a slot and never moves, so references to it stay valid. The slots are a first
/// block after this object in the same allocation and one overflow block, MAX_SLOTS together;
/// `order_` lists them by key. docs/design.md shows the memory layout.
///
/// The first call of getMap builds the shown map, a `std::map` with an alias for every slot. A key
/// that does not fit into a slot (because it is not a ShortKey or all slots are in use) is stored
/// in the shown map itself, and so is every later new key: the shown map then is the index.
///
/// Threads: any number of threads may call the const operations at the same time.
class MapNode {
public:
    using ShownMap = std::map<std::wstring, Message>;

    struct Slot {
        ShortKey key;
        Message value;
    };

    static constexpr std::size_t MAX_SLOTS = 32;

    /// Creates an empty node for `size` entries and a few that loggers add.
    static MapNode* create(std::size_t size);
    /// Creates a node with the entries of a map, whose keys must not have supplementary elements.
    static MapNode* create(ShownMap entries);
    /// Creates an empty node that can store the entries of `source` in the same way.
    static MapNode* createLike(const MapNode& source) {
        return source.isIndexedBySlots_ ? create(source.size_) : create(ShownMap());
    }
    static void destroy(MapNode* node) noexcept;

    MapNode(const MapNode&) = delete;
    MapNode& operator=(const MapNode&) = delete;

    std::size_t size() const noexcept { return isIndexedBySlots_ ? size_ : map()->size(); }

    /// Whether the slots hold all entries.
    bool isIndexedBySlots() const noexcept { return isIndexedBySlots_; }
    /// The slot at `position` in key order.
    const Slot& slotAt(std::size_t position) const noexcept { return *slot(order_[position]); }
    /// The `std::map` with all entries, built on first use.
    const ShownMap& shownMap() const;

    /// The value at `key`; null if there is none.
    const Message* find(std::string_view key) const;
    const Message* find(std::wstring_view key) const;

    /// The value at `key`, inserted as Null if it is absent.
    Message& element(std::string_view key);
    Message& element(std::wstring_view key);

    /// Calls `action` with every value that this node owns.
    template <class Action>
    void forEachOwned(Action action) {
        forEachSlot([&action](Slot& slot) { action(slot.value); });
        if (isIndexedBySlots_) return;
        for (auto& entry : *map()) action(entry.second);
    }

    /// Adds an entry for each entry of `source`, for which this node was created. Calls
    /// `copyTree(value, copy)` with each value that is not self-contained and its new Null.
    template <class CopyTree>
    void copyEntries(const MapNode& source, CopyTree copyTree);

    /// About how many bytes the keys and values take, without what the values own. The count stops
    /// at `limit`.
    std::size_t footprint(std::size_t limit) const noexcept;

    /// Links containers awaiting destruction, which must neither recurse nor allocate.
    MapNode* next = nullptr;

private:
    explicit MapNode(std::size_t capacity) noexcept
        : capacity_(static_cast<std::uint8_t>(capacity)) {}
    ~MapNode();

    ShownMap* map() const noexcept { return shownMap_.load(std::memory_order_acquire); }
    Slot* firstBlock() const noexcept {
        return const_cast<Slot*>(reinterpret_cast<const Slot*>(this + 1));
    }
    Slot* slot(std::size_t index) const noexcept {
        return index < capacity_ ? firstBlock() + index : overflow_ + (index - capacity_);
    }
    template <class Action>
    void forEachSlot(Action action) {
        std::for_each_n(firstBlock(), std::min(size_, capacity_), action);
        if (size_ > capacity_) std::for_each_n(overflow_, size_ - capacity_, action);
    }
    const Message* findInSlots(ShortKey key) const noexcept;
    template <class Key>
    const Message* findInMap(Key key) const;
    Message& elementInSlots(ShortKey key);
    template <class Key>
    Message& elementInMap(Key key);
    Message& insert(std::size_t position, ShortKey key);

    /// Null until needed.
    mutable std::atomic<ShownMap*> shownMap_ = nullptr;
    /// The slots from `capacity_` on; null until needed.
    Slot* overflow_ = nullptr;
    /// The indices of the slots in use, by key.
    std::array<std::uint8_t, MAX_SLOTS> order_;
    /// The number of slots in use.
    std::uint8_t size_ = 0;
    /// The number of slots in the first block.
    const std::uint8_t capacity_;
    bool isIndexedBySlots_ = true;
    /// The spin lock held while the shown map is built.
    mutable std::atomic_flag mapInWork_;
};

template <class CopyTree>
void MapNode::copyEntries(const MapNode& source, CopyTree copyTree) {
    const auto copyValue = [&copyTree](const Message& from, Message& to) {
        if (!MessageAccess::value(from).isSelfContained()) return copyTree(from, to);
        MessageAccess::value(to) = MessageAccess::value(from);
    };
    if (source.isIndexedBySlots_) {
        for (std::size_t i = 0; i < source.size_; ++i) {
            const Slot& from = source.slotAt(i);
            Slot* const to = new (slot(i)) Slot{from.key, Message()};
            order_[i] = size_++;
            copyValue(from.value, to->value);
        }
        return;
    }
    ShownMap& copies = *map();
    for (const auto& [key, value] : *source.map()) {
        copyValue(MessageAccess::resolve(value), copies.try_emplace(copies.end(), key)->second);
    }
}

static_assert(sizeof(MapNode) == 64 && sizeof(MapNode::Slot) == 32);

}  // namespace Korvel
