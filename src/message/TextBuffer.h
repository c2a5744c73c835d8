#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace Korvel {

/// Text that grows at its end. A writer asks once for the room that a piece can need at most,
/// writes it through a pointer, and says where it ended. Up to a kilobyte, which is most entries,
/// needs no allocation.
class TextBuffer {
public:
    TextBuffer() = default;
    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;
    ~TextBuffer() = default;

    /// The end of the text, with `size` bytes that may be written there. Good until the next call.
    char* room(std::size_t size) {
        if (size > capacity_ - size_) grow(size);
        return begin_ + size_;
    }

    /// Makes what was written up to `end` part of the text.
    void endAt(const char* end) noexcept { size_ = static_cast<std::size_t>(end - begin_); }

    void append(std::string_view piece) {
        std::memcpy(room(piece.size()), piece.data(), piece.size());
        size_ += piece.size();
    }

    void push_back(char byte) {
        *room(1) = byte;
        ++size_;
    }

    std::string_view view() const noexcept { return {begin_, size_}; }

private:
    void grow(std::size_t size) {
        const std::size_t capacity = (capacity_ + size) * 2;
        std::unique_ptr<char[]> larger(new char[capacity]);
        std::memcpy(larger.get(), begin_, size_);
        larger_ = std::move(larger);
        begin_ = larger_.get();
        capacity_ = capacity;
    }

    char first_[1024];
    std::unique_ptr<char[]> larger_;
    char* begin_ = first_;
    std::size_t size_ = 0;
    std::size_t capacity_ = sizeof first_;
};

}  // namespace Korvel
