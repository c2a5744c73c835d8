// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "message/ShortKey.h"

#include "support/Test.h"

TEST(ShortKey, HoldsShortPlainTextInItsOrder) {
    const wchar_t units[] = {L'a',  L'b', L' ', 0x7F, L'!', L'#',  L'[',   L']',   L'"',
                             L'\\', 0x1F, 0,    0x80, 0xFF, 0x161, 0x7F61, 0x8061, 0xFF61};
    std::mt19937 random(20261123);
    std::wstring lastText;
    ShortKey lastKey;
    for (int i = 0; i < 300000; ++i) {
        const auto kinds = random() % 4 == 0 ? std::size(units) : 8;
        std::wstring text(random() % 18, L'a');
        for (auto count = random() % 3; count > 0 && !text.empty(); --count) {
            text[random() % text.size()] = units[random() % kinds];
        }
        const bool isPlain = std::all_of(text.begin(), text.end(), [](wchar_t unit) {
            return unit >= 0x20 && unit < 0x80 && unit != L'"' && unit != L'\\';
        });
        const auto key = ShortKey::of(std::wstring_view(text));
        ASSERT_EQ(key.has_value(), isPlain && text.size() <= 15);
        if (!key.has_value()) continue;
        ASSERT_EQ(key->wide(), text);
        ASSERT_TRUE(*key == ShortKey::of(std::string_view(std::string(text.begin(), text.end()))));
        ASSERT_EQ(*key < lastKey, text < lastText);
        ASSERT_EQ(*key == lastKey, text == lastText);
        lastKey = *key;
        lastText = text;
    }
}
