// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace Korvel {

/// A text that grows at its end. A writer reserves the maximum space for a piece once, writes
/// through a pointer, and reports where the piece ends. Up to 1 KiB, enough for most entries, needs
/// no allocation.
class TextBuffer {
public:
    TextBuffer() = default;
    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;
    ~TextBuffer() = default;

    /// Returns the end of the text, with space for `size` bytes there. Valid until the next call.
    char* room(std::size_t size) { return room(end_, size); }

    /// The same, after making everything up to `end` part of the text.
    char* room(char* end, std::size_t size) {
        end_ = end;
        if (size > static_cast<std::size_t>(limit_ - end_)) grow(size);
        return end_;
    }

    /// Makes everything up to `end` part of the text.
    void endAt(char* end) noexcept { end_ = end; }

    void append(std::string_view piece) {
        std::memcpy(room(piece.size()), piece.data(), piece.size());
        end_ += piece.size();
    }

    void push_back(char byte) {
        *room(1) = byte;
        ++end_;
    }

    std::string_view view() const noexcept {
        return {begin_, static_cast<std::size_t>(end_ - begin_)};
    }

private:
    void grow(std::size_t size) {
        const std::size_t used = view().size();
        const std::size_t capacity = 2 * (used + size);
        std::unique_ptr<char[]> larger(new char[capacity]);
        std::memcpy(larger.get(), begin_, used);
        larger_ = std::move(larger);
        begin_ = larger_.get();
        end_ = begin_ + used;
        limit_ = begin_ + capacity;
    }

    char first_[1024];
    std::unique_ptr<char[]> larger_;
    char* begin_ = first_;
    char* end_ = first_;
    char* limit_ = first_ + sizeof first_;
};

}  // namespace Korvel
