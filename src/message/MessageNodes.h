#pragma once

#include "message/Anchors.h"
#include "message/FlatKey.h"

#include <Korvel/Message.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

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

/// What a Map owns, in one of two forms. The tree is what getMap promises. As long as nobody has
/// asked for it, the entries stand in one array instead, which is what happens to most that is
/// logged: a value is in the array itself, or, once a reference to it is out, at an anchor, and the
/// array has a stand-in for it.
///
/// Reading getMap of a flat Map makes the tree beside the array. Both then show the same values,
/// which the tree owns; the first operation that can change one ends the flat form for good.
class MapNode {
public:
    using Tree = Anchors::Tree;

    struct Entry {
        FlatKey key;
        Message value;

        /// As bytes: what `source` owned belongs to this one, and what this one had to nobody.
        void become(const Entry& source) noexcept {
            key = source.key;
            value.value_ = source.value.value_;
        }
    };

    /// An empty one, flat, with room for `size` entries and some that others add.
    static MapNode* create(std::size_t size);
    static MapNode* create(Tree entries);
    static void destroy(MapNode* node) noexcept;

    MapNode(const MapNode&) = delete;
    MapNode& operator=(const MapNode&) = delete;

    /// Begins to fetch what most Maps have into the cache of this processor.
    void prefetch() const noexcept;

    bool isFlat() const noexcept { return isFlat_; }
    std::span<const Entry> flat() const noexcept { return {entries_, size_}; }
    std::size_t size() const noexcept;
    bool contains(std::wstring_view key) const;

    // Many readers at once may call these, also the second find, because a value can be read
    // through a reference that could change it.

    const Tree& tree() const;
    /// The value at `key`, which stays where it is; null if there is none.
    const Message* find(std::wstring_view key) const;
    Message* find(std::wstring_view key);

    /// The value at `key`, inserted as Null if it is absent, for an assignment at once: the next
    /// insertion can move it. So it must not reach a user.
    template <class Unit>
    Message& place(std::basic_string_view<Unit> key);

    /// The same, but the value stays where it is.
    Message& anchor(const FlatKey& key);

    /// The same for any key in its final form.
    Message& placeInTree(std::wstring key);

    /// Copies all entries into this one, which is new.
    void copyFrom(const MapNode& source);
    void beginCopies(const MapNode& source, Message::OpenCopies& open);

    /// Calls `action` with every value, for a node that is about to be destroyed.
    template <class Action>
    void forEachValue(Action action) {
        if (Tree* const tree = tree_.load(std::memory_order_relaxed); tree != nullptr) {
            for (auto& entry : *tree) action(entry.second);
        } else {
            for (Entry& entry : entries()) action(entry.value.shown());
        }
    }

    MapNode* next = nullptr;

private:
    /// More entries would make insertion slow.
    static constexpr std::size_t MOST_FLAT = 32;
    /// For the keys that extenders and the handler add.
    static constexpr std::size_t SPARE = 4;

    explicit MapNode(std::size_t capacity) noexcept;
    ~MapNode();

    std::span<Entry> entries() noexcept { return {entries_, size_}; }
    /// Where the first entries stand: behind this object, in the same piece of storage.
    Entry* ownEntries() noexcept { return reinterpret_cast<Entry*>(this + 1); }
    const Entry* findFlat(const FlatKey& key) const noexcept;
    const Entry* findFlat(std::wstring_view key) const noexcept;
    Entry* lowerBound(const FlatKey& key) noexcept;
    bool isAt(const Entry* entry, const FlatKey& key) const noexcept;
    Entry* insert(Entry* place, const FlatKey& key);
    void grow();
    bool copyFlat(const Tree& source);
    std::unique_ptr<Tree> makeTree() const;
    Tree& tree();
    void dropFlat() noexcept;

    /// Those from `size_` on are Null.
    Entry* entries_;
    std::uint32_t size_ = 0;
    std::uint32_t capacity_;
    std::atomic<bool> isFlat_ = true;
    std::unique_ptr<Entry[]> grown_;
    mutable Anchors::Loan anchors_;
    /// Held by the reader that makes the tree.
    mutable std::atomic_flag treeInWork_;
    /// Owned; null while there is no tree.
    mutable std::atomic<Tree*> tree_ = nullptr;
};

/// The text of a String that is not wide.
inline std::string_view Message::narrowText() const noexcept {
    if (isShortText()) {
        const auto base = static_cast<std::size_t>(Type::ShortText);
        return {value_.brief.bytes, static_cast<std::size_t>(type()) - base};
    }
    return {value_.plain.slot.text->bytes(), value_.plain.slot.text->size};
}

}  // namespace Korvel
