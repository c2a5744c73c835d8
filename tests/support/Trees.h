// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Korvel.h>

#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>

/// Makes Messages and, beside each, what a reader must find where a WellFormedSink has repaired it.
struct Trees {
    using Json = nlohmann::json;
    using Message = Korvel::Message;
    using Pair = std::pair<Message, Json>;

    std::pair<std::wstring, std::string> text() {
        constexpr auto TOO_LARGE = static_cast<wchar_t>(sizeof(wchar_t) > 2 ? 0x110000 : 0xDBFF);
        static const std::string mark = "\xEF\xBF\xBD";
        static const std::pair<std::wstring, std::string> pieces[] = {
            {L"text", "text"},
            {L"\u00DF\u20AC\xD83D\xDE00", "\xC3\x9F\xE2\x82\xAC\xF0\x9F\x98\x80"},
            {L"\"\\/\n\x01\x7F", "\"\\/\n\x01\x7F"},
            {L"thirteen char", "thirteen char"},
            {std::wstring(1, L'\0'), std::string(1, '\0')},
            {L"\xDFFF", mark},
            {L"\xD800", mark},
            {std::wstring(1, TOO_LARGE), mark}};
        std::pair<std::wstring, std::string> made;
        for (auto left = next(4); left > 0; --left) {
            const auto piece = isHostile && next(40) == 0 ? 5 + next(3) : next(5);
            isNotJson |= piece == 5;
            isRefused |= piece > 5;
            // The point keeps two lone surrogates from making a pair.
            made.first += pieces[piece].first + (piece < 5 ? L"" : L".");
            made.second += pieces[piece].second + (piece < 5 ? "" : ".");
        }
        return made;
    }

    /// Numbers that are not hostile have one text in every notation.
    Pair number() {
        const std::uint64_t special = next(20) == 0 ? 0x7FF0000000000000 : 0;
        const double real = isHostile ? std::bit_cast<double>(next(UINT64_MAX) | special)
                                      : static_cast<double>(next(2000)) - 999.5;
        if (!std::isfinite(real)) {
            isNotJson = true;
            return {real, nullptr};
        }
        char text[32];
        std::snprintf(text, sizeof text, "%.6g", real);
        return {real, std::strtod(text, nullptr)};
    }

    Pair value(unsigned depth = 0) {
        const auto kind = next(depth < 5 ? 8 : 6);
        if (kind == 0) return {Message(), nullptr};
        if (kind == 1) return {true, true};
        if (kind == 2) return number();
        if (kind > 5) return container(kind == 6, depth + 1);
        const auto integer = static_cast<std::int64_t>(next(UINT64_MAX)) >> next(64);
        if (kind == 3) return {integer, integer};
        const auto [wide, narrow] = text();
        return {wide, narrow};
    }

    /// Each key begins with a number, so that repairs make no two alike.
    Pair container(bool isMap, unsigned depth = 0) {
        Pair made(std::vector<Message>(), Json::array());
        if (isMap) made = {std::map<std::string, Message>(), Json::object()};
        for (auto left = next(5); left > 0; --left) {
            auto [message, json] = value(depth);
            if (isMap) {
                const auto [wide, narrow] = text();
                made.first[std::to_wstring(left) + wide] = std::move(message);
                made.second[std::to_string(left) + narrow] = json;
            } else {
                made.first.push_back(message);
                made.second.push_back(json);
            }
        }
        return made;
    }

    /// Returns a number below its argument, and so makes every choice.
    std::function<std::uint64_t(std::uint64_t below)> next =
        [random = std::mt19937_64(20261123)](auto below) mutable { return random() % below; };
    /// Whether to make what is not JSON by contract, and what has been made of it.
    bool isHostile = false;
    bool isNotJson = false;
    bool isRefused = false;
};
