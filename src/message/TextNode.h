// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <new>

namespace Korvel {

/// A UTF-8 text in one allocation: its size, then its bytes.
struct TextNode {
    std::size_t size;

    /// Allocates space for `size` bytes, which the caller fills in.
    static TextNode* create(std::size_t size) {
        return new (::operator new(sizeof(TextNode) + size)) TextNode{size};
    }
    static void destroy(TextNode* node) noexcept { ::operator delete(node); }

    char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
    const char* bytes() const noexcept { return reinterpret_cast<const char*>(this + 1); }
};

}  // namespace Korvel
