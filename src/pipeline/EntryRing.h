// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Message.h>

#include <cassert>
#include <cstddef>
#include <memory>
#include <utility>

namespace Korvel {

/// A FIFO ring buffer of Messages. Only `allocate` allocates. Not synchronised.
class EntryRing {
public:
    /// To be called before the first push. Later calls do nothing.
    void allocate() {
        if (slots_ == nullptr) slots_ = std::make_unique<Message[]>(CAPACITY);
    }

    bool isEmpty() const noexcept { return size_ == 0; }
    bool isFull() const noexcept { return size_ == CAPACITY; }

    void push(Message&& entry) noexcept {
        assert(slots_ != nullptr && !isFull());
        slots_[(first_ + size_) % CAPACITY] = std::move(entry);
        ++size_;
    }

    void pop(Message& entry) noexcept {
        assert(!isEmpty());
        entry = std::move(slots_[first_]);
        first_ = (first_ + 1) % CAPACITY;
        --size_;
    }

private:
    /// Enough for the entries that many callers add while the worker delivers one batch.
    static constexpr std::size_t CAPACITY = 1024;

    std::unique_ptr<Message[]> slots_;
    std::size_t first_ = 0;
    std::size_t size_ = 0;
};

}  // namespace Korvel
