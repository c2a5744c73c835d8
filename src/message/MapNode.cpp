#include "message/MessageNodes.h"
#include "message/Utf.h"

#include <algorithm>
#include <memory>
#include <tuple>
#include <utility>

namespace Korvel {

MapNode::MapNode(Tree entries) : isFlat_(false), own_(std::move(entries)), tree_(&own_) {}

MapNode::MapNode(const MapNode& source) {
    if (source.isFlat_) {
        reserve(source.flat_.size());
        for (const Entry& entry : source.flat_) flat_.push_back(entry);
    } else if (!copyFlat(source.tree())) {
        flat_.clear();
        own_ = source.tree();
        tree_ = &own_;
        isFlat_ = false;
    }
}

MapNode::~MapNode() {
    Tree* const tree = tree_;
    if (tree != nullptr) dropFlat();
    if (tree != &own_) delete tree;
}

void MapNode::reserve(std::size_t size) {
    flat_.reserve(std::min(size + SPARE, MOST_FLAT));
}

std::size_t MapNode::size() const noexcept {
    return isFlat_ ? flat_.size() : tree_.load()->size();
}

bool MapNode::contains(std::wstring_view key) const {
    if (!isFlat_) return tree().contains(Utf::splitSupplementary(key));
    const auto flatKey = FlatKey::of(key);
    return flatKey.has_value() && find(*flatKey) != nullptr;
}

const MapNode::Tree& MapNode::tree() const {
    if (const Tree* const made = tree_.load(std::memory_order_acquire)) return *made;
    auto tree = std::make_unique<Tree>();
    addKeysTo(*tree);
    // Nothing throws from here on, so that no value is ever owned twice.
    auto place = tree->begin();
    for (const Entry& entry : flat_) (place++)->second.value_ = entry.value.value_;
    // Readers can get here at the same time; the first one's tree is for all.
    Tree* first = nullptr;
    if (tree_.compare_exchange_strong(first, tree.get(), std::memory_order_acq_rel)) {
        return *tree.release();
    }
    for (auto& entry : *tree) entry.second.become(Message::Type::Null, {});
    return *first;
}

MapNode::Tree& MapNode::tree() {
    if (tree_ == nullptr) {
        addKeysTo(own_);
        // Nothing throws from here on, so a failure leaves the entries as they were.
        auto place = own_.begin();
        for (Entry& entry : flat_) (place++)->second = std::move(entry.value);
        tree_ = &own_;
    }
    isFlat_ = false;
    dropFlat();
    return *tree_;
}

MapNode::Tree& MapNode::sharedTree() {
    std::as_const(*this).tree();
    isFlat_ = false;
    return *tree_;
}

void MapNode::addKeysTo(Tree& tree) const {
    for (const Entry& entry : flat_) tree.try_emplace(tree.end(), entry.key.wide());
}

/// Removes the entries from the array, whose values the tree owns.
void MapNode::dropFlat() noexcept {
    for (Entry& entry : flat_) entry.value.become(Message::Type::Null, {});
    flat_.clear();
}

template <class Unit>
Message& MapNode::place(std::basic_string_view<Unit> key) {
    if (isFlat_ && tree_ == nullptr) {
        if (const auto flatKey = FlatKey::of(key)) {
            if (Message* const value = placeFlat(*flatKey)) return *value;
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

Message& MapNode::placeInTree(std::wstring key) {
    // Most keys are new ones, for which emplace compares less than try_emplace.
    return tree()
        .emplace(std::piecewise_construct, std::forward_as_tuple(std::move(key)), std::tuple<>())
        .first->second;
}

const MapNode::Entry* MapNode::find(const FlatKey& key) const noexcept {
    const auto entry = std::find_if(flat_.begin(), flat_.end(),
                                    [&](const Entry& other) { return other.key == key; });
    return entry == flat_.end() ? nullptr : &*entry;
}

/// Begins the copies of the entries of `source` in this empty node, in the same form.
void MapNode::beginCopies(const MapNode& source, Message::OpenCopies& open) {
    if (source.isFlat_) {
        for (const Entry& entry : source.flat_) flat_.emplace_back(entry.key);
        auto to = flat_.begin();
        for (const Entry& entry : source.flat_) (to++)->value.beginCopy(entry.value, open);
        return;
    }
    Tree& copies = tree();
    for (const auto& [key, value] : source.tree()) {
        copies.try_emplace(copies.end(), key)->second.beginCopy(value, open);
    }
}

/// Null where there is no room for another key.
Message* MapNode::placeFlat(const FlatKey& key) {
    std::size_t position = flat_.size();
    while (position > 0 && key < flat_[position - 1].key) --position;
    if (position > 0 && flat_[position - 1].key == key) return &flat_[position - 1].value;
    if (flat_.size() == MOST_FLAT) return nullptr;
    flat_.emplace_back(key);
    for (std::size_t i = flat_.size() - 1; i > position; --i) flat_[i].takeFrom(flat_[i - 1]);
    flat_[position].key = key;
    return &flat_[position].value;
}

/// Copies the entries of a tree into this empty node, if they can be flat.
bool MapNode::copyFlat(const Tree& source) {
    if (source.size() > MOST_FLAT - SPARE) return false;
    reserve(source.size());
    for (const auto& entry : source) {
        const auto key = FlatKey::of(std::wstring_view(entry.first));
        if (!key.has_value()) break;
        flat_.emplace_back(*key);
    }
    // All keys come first, because a value can be a whole tree, to be copied once.
    if (flat_.size() != source.size()) return false;
    auto to = flat_.begin();
    for (const auto& entry : source) (to++)->value = entry.second;
    return true;
}

}  // namespace Korvel
