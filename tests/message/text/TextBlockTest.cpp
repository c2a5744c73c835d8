// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "message/text/TextBlock.h"

#include "support/Test.h"

#include <array>

// Where the processor has no such instructions, both are the same functions.
TEST(TextBlock, FastFunctionsDoWhatThePortableOnesDo) {
    const wchar_t units[] = {L'a', L' ', 0x1F,  L'"',   L'\\', 0x7F,
                             0x80, 0xFF, 0x100, 0x8000, 0xFFFF};
    std::mt19937 random(20261123);
    for (int i = 0; i < 100000; ++i) {
        std::array<char, TextBlock::SIZE> bytes = {};
        std::array<wchar_t, TextBlock::SIZE> wide = {};
        // Most blocks are plain, or nearly so.
        const auto kinds = 1 + random() % 11;
        for (auto& byte : bytes) byte = static_cast<char>(units[random() % kinds]);
        for (auto& unit : wide) unit = units[random() % kinds];
        ASSERT_EQ(TextBlock::escapeMask(bytes.data()),
                  TextBlock::Portable::escapeMask(bytes.data()));
        ASSERT_EQ(TextBlock::nonAsciiMask(bytes.data()),
                  TextBlock::Portable::nonAsciiMask(bytes.data()));
        const auto size = random() % (TextBlock::SIZE + 1);
        std::array<char, TextBlock::SIZE> tried = {};
        std::array<char, TextBlock::SIZE> triedPortably = {};
        const bool fits = TextBlock::Portable::tryNarrow(triedPortably.data(), wide.data(), size);
        ASSERT_EQ(TextBlock::tryNarrow(tried.data(), wide.data(), size), fits);
        ASSERT_TRUE(!fits || tried == triedPortably);
        const bool isAscii = TextBlock::Portable::isAscii(wide.data());
        ASSERT_EQ(TextBlock::isAscii(wide.data()), isAscii);
        if (!isAscii) continue;
        ASSERT_EQ(TextBlock::packFour(wide.data()), TextBlock::Portable::packFour(wide.data()));
        std::array<char, TextBlock::SIZE> narrowed = {};
        std::array<char, TextBlock::SIZE> narrowedPortably = {};
        TextBlock::narrow(narrowed.data(), wide.data());
        TextBlock::Portable::narrow(narrowedPortably.data(), wide.data());
        ASSERT_EQ(narrowed, narrowedPortably);
        std::array<wchar_t, TextBlock::SIZE> widened = {};
        TextBlock::widen(widened.data(), narrowed.data());
        ASSERT_EQ(widened, wide);
    }
}
