#include "message/MessageNodes.h"
#include "message/text/Utf.h"

#include <algorithm>
#include <memory>
#include <thread>
#include <tuple>
#include <utility>

namespace Korvel {
namespace {

/// A lock of one Map. It is held for some allocations only, and nearly never asked for twice.
class Turn {
public:
    explicit Turn(std::atomic_flag& flag) noexcept : flag_(flag) {
        while (flag_.test_and_set(std::memory_order_acquire)) std::this_thread::yield();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() { flag_.clear(std::memory_order_release); }

private:
    std::atomic_flag& flag_;
};

}  // namespace

MapNode* MapNode::create(std::size_t size) {
    const std::size_t capacity = std::min(size + SPARE, MOST_FLAT);
    return new (::operator new(sizeof(MapNode) + capacity * sizeof(Entry))) MapNode(capacity);
}

MapNode* MapNode::create(Tree entries) {
    auto tree = std::make_unique<Tree>(std::move(entries));
    MapNode* const node = create(0);
    node->tree_ = tree.release();
    node->isFlat_ = false;
    return node;
}

void MapNode::destroy(MapNode* node) noexcept {
    node->~MapNode();
    ::operator delete(node);
}

MapNode::MapNode(std::size_t capacity) noexcept
    : entries_(ownEntries()), capacity_(static_cast<std::uint32_t>(capacity)) {
    std::uninitialized_value_construct_n(entries_, capacity);
}

MapNode::~MapNode() {
    const Tree* const tree = tree_;
    if (tree != nullptr) dropFlat();
    delete tree;
    for (Entry& entry : entries()) entry.value = Message();
}

void MapNode::prefetch() const noexcept {
#ifdef __GNUC__
    constexpr std::size_t LINE = 64;
    constexpr std::size_t USUAL_SIZE = sizeof(MapNode) + (8 + SPARE) * sizeof(Entry);
    const char* const begin = reinterpret_cast<const char*>(this);
    for (std::size_t i = 0; i < USUAL_SIZE; i += LINE) __builtin_prefetch(begin + i);
#endif
}

std::size_t MapNode::size() const noexcept {
    return isFlat_ ? size_ : tree_.load()->size();
}

bool MapNode::contains(std::wstring_view key) const {
    return isFlat_ ? findFlat(key) != nullptr : find(key) != nullptr;
}

const Message* MapNode::find(std::wstring_view key) const {
    if (isFlat_) {
        const Entry* const entry = findFlat(key);
        if (entry == nullptr) return nullptr;
        if (entry->value.isStandIn()) return &entry->value.shown();
    }
    const auto entry = tree().find(Utf::splitSupplementary(key));
    return entry == tree().end() ? nullptr : &entry->second;
}

Message* MapNode::find(std::wstring_view key) {
    const Message* const value = std::as_const(*this).find(key);
    if (tree_ != nullptr) isFlat_ = false;
    return const_cast<Message*>(value);
}

const MapNode::Tree& MapNode::tree() const {
    if (const Tree* const made = tree_.load(std::memory_order_acquire)) return *made;
    // Readers can get here at the same time; the first one makes the tree for all.
    const Turn turn(treeInWork_);
    if (tree_ == nullptr) tree_ = makeTree().release();
    return *tree_;
}

/// A tree of the entries that owns their values. The array, which others may be reading, stays.
std::unique_ptr<MapNode::Tree> MapNode::makeTree() const {
    auto tree = std::make_unique<Tree>();
    std::vector<std::wstring> keysOfAnchored;
    for (const Entry& entry : flat()) {
        if (entry.value.isStandIn()) {
            keysOfAnchored.push_back(entry.key.wide());
        } else {
            tree->try_emplace(tree->end(), entry.key.wide());
        }
    }
    // Nothing throws from here on, so that no value is ever owned twice.
    auto key = keysOfAnchored.begin();
    auto place = tree->begin();
    for (const Entry& entry : flat()) {
        if (entry.value.isStandIn()) {
            auto node = anchors_->release(entry.value.shown());
            node.key() = std::move(*key++);
            tree->insert(place, std::move(node));
        } else {
            (place++)->second.value_ = entry.value.value_;
        }
    }
    anchors_.reset();
    return tree;
}

/// Ends the flat form.
MapNode::Tree& MapNode::tree() {
    std::as_const(*this).tree();
    isFlat_ = false;
    dropFlat();
    return *tree_;
}

/// Removes the entries from the array, whose values the tree owns.
void MapNode::dropFlat() noexcept {
    for (Entry& entry : entries()) entry.value.become(Message::Type::Null, {});
    size_ = 0;
}

template <class Unit>
Message& MapNode::place(std::basic_string_view<Unit> key) {
    if (isFlat_ && tree_ == nullptr) {
        if (const auto flatKey = FlatKey::of(key)) {
            Entry* entry = lowerBound(*flatKey);
            if (!isAt(entry, *flatKey)) entry = insert(entry, *flatKey);
            if (entry != nullptr) return entry->value.shown();
        }
    }
    if constexpr (sizeof(Unit) == 1) {
        return placeInTree(Utf::decode(key));
    } else {
        return placeInTree(Utf::splitSupplementary(key));
    }
}

template Message& MapNode::place(std::string_view key);
template Message& MapNode::place(std::wstring_view key);

Message& MapNode::anchor(const FlatKey& key) {
    if (!isFlat_ || tree_ != nullptr) return placeInTree(key.wide());
    Entry* entry = lowerBound(key);
    const bool isNew = !isAt(entry, key);
    if (!isNew && entry->value.isStandIn()) return entry->value.shown();
    if (anchors_ == nullptr) anchors_ = Anchors::borrow();
    Message& anchored = anchors_->next();
    if (isNew) {
        entry = insert(entry, key);
        if (entry == nullptr) return placeInTree(key.wide());
    } else {
        anchored.value_ = entry->value.value_;
    }
    entry->value.become(Message::Type::StandIn, {.shown = &anchored});
    anchors_->take();
    return anchored;
}

Message& MapNode::placeInTree(std::wstring key) {
    // Most keys are new ones, for which emplace compares less than try_emplace.
    return tree()
        .emplace(std::piecewise_construct, std::forward_as_tuple(std::move(key)), std::tuple<>())
        .first->second;
}

const MapNode::Entry* MapNode::findFlat(const FlatKey& key) const noexcept {
    const auto all = flat();
    const auto entry =
        std::find_if(all.begin(), all.end(), [&](const Entry& other) { return other.key == key; });
    return entry == all.end() ? nullptr : &*entry;
}

const MapNode::Entry* MapNode::findFlat(std::wstring_view key) const noexcept {
    const auto flatKey = FlatKey::of(key);
    return flatKey.has_value() ? findFlat(*flatKey) : nullptr;
}

/// The first entry whose key is not less, or the end of the entries.
MapNode::Entry* MapNode::lowerBound(const FlatKey& key) noexcept {
    Entry* place = entries_ + size_;
    while (place != entries_ && !(place[-1].key < key)) --place;
    return place;
}

bool MapNode::isAt(const Entry* entry, const FlatKey& key) const noexcept {
    return entry != entries_ + size_ && entry->key == key;
}

/// A new Null at its lowerBound; null where there is no room for another key.
MapNode::Entry* MapNode::insert(Entry* place, const FlatKey& key) {
    if (size_ == capacity_) {
        if (capacity_ == MOST_FLAT) return nullptr;
        const auto position = place - entries_;
        grow();
        place = entries_ + position;
    }
    for (Entry* entry = entries_ + size_; entry != place; --entry) entry->become(entry[-1]);
    place->key = key;
    place->value.become(Message::Type::Null, {});
    ++size_;
    return place;
}

/// Makes room for as many entries as there may be.
void MapNode::grow() {
    auto larger = std::make_unique<Entry[]>(MOST_FLAT);
    std::size_t i = 0;
    for (const Entry& entry : flat()) larger[i++].become(entry);
    // Nothing of what stays behind is destroyed.
    grown_ = std::move(larger);
    entries_ = grown_.get();
    capacity_ = MOST_FLAT;
}

void MapNode::copyFrom(const MapNode& source) {
    if (!source.isFlat_) {
        if (copyFlat(source.tree())) return;
        // One by one, so that the entries stand in memory in the order in which they are read.
        Tree& copies = tree();
        for (const auto& entry : source.tree()) copies.insert(copies.end(), entry);
        return;
    }
    for (const Entry& entry : source.flat()) {
        const Message& value = entry.value.shown();
        Entry& copy = entries_[size_++];
        copy.key = entry.key;
        if (value.ownsStorage()) {
            copy.value.copyFrom(value);
        } else {
            copy.value.value_ = value.value_;
        }
    }
}

/// Begins the copies of the entries of `source` in this node, which is new, in the same form.
void MapNode::beginCopies(const MapNode& source, Message::OpenCopies& open) {
    if (source.isFlat_) {
        for (const Entry& entry : source.flat()) {
            Entry& copy = entries_[size_++];
            copy.key = entry.key;
            copy.value.beginCopy(entry.value.shown(), open);
        }
        return;
    }
    Tree& copies = tree();
    for (const auto& [key, value] : source.tree()) {
        copies.try_emplace(copies.end(), key)->second.beginCopy(value, open);
    }
}

/// Copies the entries of a tree into this node, if they can be flat.
bool MapNode::copyFlat(const Tree& source) {
    if (source.size() > capacity_) return false;
    std::size_t count = 0;
    for (const auto& entry : source) {
        const auto key = FlatKey::of(std::wstring_view(entry.first));
        if (!key.has_value()) return false;
        entries_[count++].key = *key;
    }
    // All keys come first, because a value can be a whole tree, to be copied once.
    for (const auto& entry : source) entries_[size_++].value = entry.second;
    return true;
}

}  // namespace Korvel
