// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <optional>

// Most inputs end in an exception, which is slow under sanitizers and Wine: those take a sample.
#ifdef KORVEL_QUICK_TESTS
constexpr int THIRD_BYTE_STEP = 21;
#else
constexpr int THIRD_BYTE_STEP = 1;
#endif

/// The decoder once more, slowly and by arithmetic on whole sequences; empty where it fails.
static std::optional<std::wstring> slowDecode(const std::string& text) {
    constexpr std::size_t LENGTHS[] = {1, 0, 2, 3, 4, 5, 6, 6, 6};  // By the leading one bits.
    constexpr unsigned PAYLOADS[] = {0, 128, 32, 16, 8, 4, 4};
    std::wstring units;
    for (std::size_t i = 0; i < text.size();) {
        const unsigned lead = static_cast<unsigned char>(text[i]);
        unsigned ones = 0;
        while (ones < 8 && lead / (128U >> ones) % 2 == 1) ++ones;
        const std::size_t length = LENGTHS[ones];
        if (length == 0) return {};
        std::uint64_t value = lead % PAYLOADS[length];
        std::size_t present = 1;
        for (; present < length && i + present < text.size(); ++present) {
            const unsigned byte = static_cast<unsigned char>(text[i + present]);
            if (byte < 128 || byte > 191) return {};
            value = value * 64 + byte - 128;
        }
        i += present;
        const bool lacksLast = length > 3 && present == length - 1;
        if (lacksLast) value *= 64;
        if (value > 0x10FFFF || (present < length && !(lacksLast && value > 0xFFFF))) return {};
        if (value > 0xFFFF) units += static_cast<wchar_t>((value - 0x10000) / 1024 + 0xD800);
        if (lacksLast) break;
        units += static_cast<wchar_t>(value > 0xFFFF ? value % 1024 + 0xDC00 : value);
    }
    return units;
}

template <class Result, class Text>
static std::optional<Result> attempt(Result (*convert)(const Text&), const Text& text) {
    try {
        return convert(text);
    } catch (const std::range_error& error) {
        EXPECT_STREQ(error.what(), "bad conversion");
        return {};
    }
}

static bool decodesLikeTheModel(const std::string& text) {
    return attempt(Message::strToWstr, text) == slowDecode(text);
}

TEST(Utf, KnownTextsConvertOrFailAsPromised) {
    const std::pair<std::string, std::optional<std::wstring>> decoded[] = {
        {"", L""},
        {"\xF0\x9F\x98\x80", L"\xD83D\xDE00"},
        {"\xEF\xBB\xBF", L"\xFEFF"},
        {"\xF0\x9F\x98", L"\xD83D"},
        {"\xC0\x80", std::wstring(1, L'\0')},
        {"\xF0\x9F", {}},
        {"\x61\xE2\x82", {}},
        {"\xF4\x90\x80\x80", {}},
        {"\xF0\x80\x80", {}}};
    for (const auto& [text, units] : decoded) EXPECT_EQ(attempt(Message::strToWstr, text), units);
    const std::pair<std::wstring, std::optional<std::string>> encoded[] = {
        {L"", ""},
        {std::wstring(1, L'\0'), std::string(1, '\0')},
        {L"\xDC00", "\xED\xB0\x80"},
        {L"\xD83D", "\xF0"},
        {L"\xDBFF", "\xF4"},
        {L"\xD83D\x41", {}},
        {L"\xD83D\xD83D", {}},
        {L"\U0001F600", "\xF0\x9F\x98\x80"}};
    for (const auto& [units, text] : encoded) EXPECT_EQ(attempt(Message::wstrToStr, units), text);
}

TEST(Utf, EveryInputOfOneToThreeBytesDecodesLikeTheModel) {
    int wrong = 0;
    for (int i = 0; i < 256 * 256; ++i) {
        const std::string two = {static_cast<char>(i / 256), static_cast<char>(i)};
        wrong += !decodesLikeTheModel(two) + !decodesLikeTheModel(two.substr(1));
        for (int third = 0; third < 256; third += THIRD_BYTE_STEP) {
            wrong += !decodesLikeTheModel(two + static_cast<char>(third));
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST(Utf, LongerInputsDecodeLikeTheModel) {
    const std::string bytes =
        "a\x7F\x80\x8F\x90\x9F\xA0\xBF\xC2\xE0\xED\xF0\xF1\xF4\xF8\xFB\xFC\xFF";
    std::mt19937 random(20261122);
    for (int i = 0; i < 300000; ++i) {
        // A long lead, then mostly continuations, so that many inputs are right or nearly so.
        std::string text(1, static_cast<char>(0xF0 + random() % 16));
        for (auto rest = 3 + random() % 6; rest > 0; --rest) {
            text += random() % 3 == 0 ? bytes[random() % bytes.size()]
                                      : static_cast<char>(0x80 + random() % 0x40);
        }
        ASSERT_TRUE(decodesLikeTheModel(text)) << testing::PrintToString(text);
    }
}

/// The pairs that begin with `first`: those that read back, all in one text, and each other one.
static int wrongPairs(wchar_t first) {
    const auto isHigh = [](wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
    std::wstring units;
    int wrong = 0;
    for (int i = 0; i < 0x10000; ++i) {
        const auto second = static_cast<wchar_t>(i);
        if (isHigh(first) ? i >= 0xDC00 && i <= 0xDFFF : !isHigh(second)) {
            units += first;
            units += second;
            continue;
        }
        const auto text = attempt(Message::wstrToStr, std::wstring{first, second});
        wrong += text.has_value() == isHigh(first) || (text && !decodesLikeTheModel(*text));
    }
    return wrong + (Message::strToWstr(Message::wstrToStr(units)) != units);
}

TEST(Utf, EveryPairOfUnitsReadsBackOrFailsAsPromised) {
    const char* const chosen = std::getenv("PAIRS_STEP");
    // One of these 14 units is a high surrogate.
    const int step = chosen == nullptr ? 5040 : std::atoi(chosen);
    std::atomic<int> next = 0;
    std::atomic<int> wrong = 0;
    std::vector<JoiningThread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            for (int unit = 0; (unit = next.fetch_add(step)) < 0x10000;) {
                wrong += wrongPairs(static_cast<wchar_t>(unit));
            }
        });
    }
    threads.clear();
    EXPECT_EQ(wrong, 0);
    if (chosen != nullptr)
        std::cout << 0x10000LL / step * 0x10000 << " pairs, " << wrong << " wrong\n";
}

TEST(Utf, LongTextsConvertLikeTheModel) {
    const std::string parts[] = {"a", "twenty plain letters", "\xC3\xA9", "\xE2\x82\xAC",
                                 "\xF0\x9F\x98\x80"};
    std::mt19937 random(20261123);
    for (int i = 0; i < 3000; ++i) {
        std::string text(500 + random() % 20, 'a');  // A piece of a conversion ends there.
        for (auto count = random() % 300; count > 0; --count) text += parts[random() % 5];
        const auto units = slowDecode(text);
        ASSERT_TRUE(decodesLikeTheModel(text));
        ASSERT_EQ(Message::wstrToStr(units.value()), text);
        ASSERT_EQ(Message(text).getWstring(), units);
        ASSERT_EQ(Message(units.value()).getString(), text);
        text.insert(random() % (text.size() + 1), "\xA9");
        ASSERT_TRUE(decodesLikeTheModel(text));
    }
}
