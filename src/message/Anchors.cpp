#include "message/Anchors.h"

#include <array>
#include <atomic>
#include <utility>

namespace Korvel {
namespace {

/// What is not lent. Who changes a list takes it out meanwhile. Each is alone in its part of the
/// cache, because it changes with every Map that is built key by key.
struct alignas(128) List {
    std::atomic<Anchors*> first = nullptr;
};

/// Each thread has one of its own, as far as there are enough. They have no destructor: a thread
/// that the process leaves running to its end may still come here, and so may the destructors of
/// the application's own globals.
std::array<List, 16> lists;

struct Sweeper {
    Sweeper() = default;
    Sweeper(const Sweeper&) = delete;
    Sweeper& operator=(const Sweeper&) = delete;
    ~Sweeper() {
        for (auto& list : lists) Anchors::destroyList(list.first.exchange(nullptr));
    }
};

/// For the end of the process, and before the library is unloaded.
const Sweeper sweeper;

std::atomic<Anchors*>& listOfThisThread() noexcept {
    static std::atomic<std::size_t> lastNumber = 0;
    // A number only, because a destructor at the end of a thread would keep the library loaded.
    thread_local std::size_t number = 0;
    if (number == 0) number = ++lastNumber;
    return lists[number % lists.size()].first;
}

}  // namespace

Anchors::Loan Anchors::borrow() {
    auto& list = listOfThisThread();
    Anchors* const first = list.exchange(nullptr, std::memory_order_acquire);
    if (first == nullptr) return Loan(new Anchors);
    putBack(list, std::exchange(first->below_, nullptr));
    return Loan(first);
}

void Anchors::GiveBack::operator()(Anchors* anchors) const noexcept {
    const bool hasReleased = anchors->nodes_.size() != anchors->values_.size();
    if (hasReleased || anchors->nodes_.size() > MOST_VALUES) {
        delete anchors;
        return;
    }
    for (std::size_t i = 0; i < anchors->used_; ++i) *anchors->values_[i] = Message();
    anchors->used_ = 0;
    auto& list = listOfThisThread();
    Anchors* const first = list.exchange(nullptr, std::memory_order_acquire);
    const std::size_t height = first == nullptr ? 0 : first->height_;
    if (height == MOST_KEPT) {
        delete anchors;
        putBack(list, first);
    } else {
        anchors->below_ = first;
        anchors->height_ = height + 1;
        putBack(list, anchors);
    }
}

void Anchors::putBack(std::atomic<Anchors*>& list, Anchors* first) noexcept {
    if (first == nullptr) return;
    Anchors* empty = nullptr;
    // Another thread that has the same list may have begun it anew.
    if (!list.compare_exchange_strong(empty, first, std::memory_order_release,
                                      std::memory_order_relaxed)) {
        destroyList(first);
    }
}

void Anchors::destroyList(Anchors* first) noexcept {
    while (first != nullptr) delete std::exchange(first, first->below_);
}

Anchors::Tree::node_type Anchors::release(const Message& value) noexcept {
    auto node = nodes_.begin();
    while (&node->second != &value) ++node;
    return nodes_.extract(node);
}

void Anchors::addNode() {
    // So that the pointer has room once there is what it points to.
    if (values_.size() == values_.capacity()) values_.reserve(values_.size() + 8);
    std::wstring key(1, static_cast<wchar_t>(used_));
    values_.push_back(&nodes_.try_emplace(nodes_.end(), std::move(key))->second);
}

}  // namespace Korvel
