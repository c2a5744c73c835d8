#pragma once

#include <Korvel/Message.h>

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Korvel {

/// The values of a Map that references lead to, before anybody asks for its tree. Each stands in a
/// node of a `std::map` from the beginning, because the tree must show it where it is, and takes
/// that node over. Nodes are dear to make, so those of a Map that ends without a tree serve the
/// next one.
class Anchors {
public:
    using Tree = std::map<std::wstring, Message>;

    /// Ends the use of all values.
    struct GiveBack {
        void operator()(Anchors* anchors) const noexcept;
    };
    using Loan = std::unique_ptr<Anchors, GiveBack>;

    static Loan borrow();

    /// A Null at a place of its own: the same one until `take` says that it is in use.
    Message& next() {
        if (used_ == values_.size()) addNode();
        return *values_[used_];
    }
    void take() noexcept { ++used_; }

    /// The node of a value in use, which is not here any more. Once this was called there is
    /// nothing to do but to release the others as well.
    Tree::node_type release(const Message& value) noexcept;

    /// A list that is not lent.
    static void destroyList(Anchors* first) noexcept;

private:
    /// In each list of those that are not lent. Those of more values than most Maps have are not
    /// kept.
    static constexpr std::size_t MOST_KEPT = 64;
    static constexpr std::size_t MOST_VALUES = 16;

    static void putBack(std::atomic<Anchors*>& list, Anchors* first) noexcept;
    void addNode();

    /// The keys only tell them apart and count in the order of `values_`.
    Tree nodes_;
    std::vector<Message*> values_;
    std::size_t used_ = 0;
    /// What follows in a list, and how many are there from here on.
    Anchors* below_ = nullptr;
    std::size_t height_ = 0;
};

}  // namespace Korvel
