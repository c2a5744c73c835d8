#pragma once

#include "message/FlatKey.h"

#include <Korvel/Message.h>

#include <atomic>

namespace Korvel {

/// A text in UTF-8, in one piece of storage with its size: the bytes stand behind this header.
struct TextNode {
    std::size_t size;

    static TextNode* create(std::size_t size);
    static void destroy(TextNode* node) noexcept;

    char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
    const char* bytes() const noexcept { return reinterpret_cast<const char*>(this + 1); }
};

/// What a Vector owns. The link, here and below, serves the destruction of a deep tree, which must
/// neither recurse nor allocate.
struct VectorNode {
    std::vector<Message> elements;
    VectorNode* next = nullptr;
};

/// What a Map owns, in one of two forms. The tree is what getMap promises: its map and its values
/// stay where they are, at two allocations a key. As long as nobody has asked for a reference, the
/// entries stand in one flat array instead, which is what happens to most that is logged.
///
/// Reading getMap of a flat Map makes the tree beside the array. Both then show the same values,
/// which the tree owns; the first operation that can change one ends the flat form for good.
class MapNode {
public:
    using Tree = std::map<std::wstring, Message>;

    struct Entry {
        explicit Entry(const FlatKey& entryKey) noexcept : key(entryKey) {}
        Entry(const Entry& source) = default;
        Entry(Entry&& source) noexcept
            : key(source.key), value(Message::TakeOver(), source.value) {}
        Entry& operator=(const Entry&) = delete;
        ~Entry() = default;

        /// Into an entry whose value is Null.
        void takeFrom(Entry& source) noexcept {
            key = source.key;
            value.value_ = source.value.take();
        }

        FlatKey key;
        Message value;
    };

    /// An empty one, flat.
    MapNode() = default;
    /// A tree.
    explicit MapNode(Tree entries);
    MapNode(const MapNode& source);
    MapNode& operator=(const MapNode&) = delete;
    ~MapNode();

    void reserve(std::size_t size);
    bool isFlat() const noexcept { return isFlat_; }
    const std::vector<Entry>& flat() const noexcept { return flat_; }
    std::size_t size() const noexcept;
    bool contains(std::wstring_view key) const;

    /// Safe for many readers at once.
    const Tree& tree() const;
    /// Ends the flat form.
    Tree& tree();
    /// Ends the flat form as well, but safe beside readers: a value can be read through a reference
    /// that could change it.
    Tree& sharedTree();

    /// The value at `key`, inserted as Null if it is absent, for an assignment at once: the next
    /// insertion can move it. So it must not reach a user.
    template <class Unit>
    Message& place(std::basic_string_view<Unit> key);

    /// The same in the tree, where the value stays. The key must be in its final form.
    Message& placeInTree(std::wstring key);

    void beginCopies(const MapNode& source, Message::OpenCopies& open);

    /// Calls `action` with every value, for a node that is about to be destroyed.
    template <class Action>
    void forEachValue(Action action) {
        if (Tree* const tree = tree_.load(std::memory_order_relaxed); tree != nullptr) {
            for (auto& entry : *tree) action(entry.second);
        } else {
            for (Entry& entry : flat_) action(entry.value);
        }
    }

    MapNode* next = nullptr;

private:
    /// More entries would make insertion slow.
    static constexpr std::size_t MOST_FLAT = 32;
    /// For the keys that extenders and the handler add.
    static constexpr std::size_t SPARE = 4;

    const Entry* find(const FlatKey& key) const noexcept;
    Message* placeFlat(const FlatKey& key);
    bool copyFlat(const Tree& source);
    void addKeysTo(Tree& tree) const;
    void dropFlat() noexcept;

    std::atomic<bool> isFlat_ = true;
    std::vector<Entry> flat_;
    /// Where a tree begins that was never flat; it saves that an allocation.
    Tree own_;
    /// `own_`, or one on the heap, or null while there is no tree.
    mutable std::atomic<Tree*> tree_ = nullptr;
};

}  // namespace Korvel
