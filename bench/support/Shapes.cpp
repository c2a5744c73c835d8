// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Shapes.h"

#include "support/KorvelRequest.h"

#include <random>

namespace Bench {
namespace {

/// This generator produces the same numbers with every standard library.
using Random = std::mt19937_64;

/// Picks words until the text reaches its size; single letters fill the rest.
std::string textOf(const std::vector<std::string>& words) {
    Random random(1);
    std::string text;
    while (true) {
        const std::string& word = words[random() % words.size()];
        if (text.size() + word.size() > TEXT_BYTES) break;
        text += word;
    }
    return text + std::string(TEXT_BYTES - text.size(), 'x');
}

}  // namespace

std::string asciiText() {
    return textOf({"the ", "request ", "of ", "order ", "4711 ", "was ", "handled, ", "and ", "a ",
                   "reply; ", "took ", "(about) ", "3.5 ", "seconds. "});
}

std::string mixedText() {
    return textOf({"order ", "Größe ", "façade ", "Ωμέγα ", "заказ ", "принят ", "שלום ", "注文 ",
                   "処理しました", "주문 ", "😀", "🚀 ", "𝔘𝔫𝔦 ", "€ "});
}

std::string escapedText() {
    return textOf({"abc\"", "de\\", "fg\n", "hij\"", "kl\t", "mn\r\n", "C:\\", "op\x01", "qrs\x1b",
                   "tu\x1f", "vw\\n"});
}

std::vector<std::int64_t> integers() {
    Random random(2);
    std::vector<std::int64_t> values;
    while (values.size() < LIST_SIZE) {
        const auto magnitude = static_cast<std::int64_t>(random() >> (1 + random() % 63));
        values.push_back(random() % 2 == 0 ? magnitude : -magnitude);
    }
    return values;
}

std::vector<double> doubles() {
    Random random(3);
    const auto upTo = [&](unsigned limit) { return static_cast<double>(random() % limit); };
    std::vector<double> values;
    while (values.size() < LIST_SIZE) {
        values.push_back(upTo(1'000'000) / 1000);
        values.push_back(upTo(1'000'000) / 999'983);
        values.push_back(upTo(100'000) / 100);
        values.push_back(-upTo(5000) / 4);
        values.push_back(upTo(1000));
        values.push_back(upTo(1'000'000) * 0.001 + 1e-9 * upTo(1000));
        values.push_back(upTo(10'000) * 1.7e11);
        values.push_back(upTo(10'000) * 3.1e-13);
    }
    return values;
}

Korvel::Message korvelEntry() {
    Korvel::Message entry = korvelList(1);
    entry["timestamp"] = TIMESTAMP;
    entry["thread"] = THREAD;
    entry["message"] = "RequestHandled";
    return entry;
}

}  // namespace Bench
