// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Line.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace KorvelCheck {
namespace {

using nlohmann::json;

/// Takes the events of the parser, which builds no tree.
class Reader : public nlohmann::json_sax<json> {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    Line take() { return std::move(line_); }

    bool null() override { return value(); }
    bool boolean(bool) override { return value(); }
    bool number_integer(number_integer_t) override { return value(); }
    bool number_unsigned(number_unsigned_t) override { return value(); }
    bool number_float(number_float_t, const string_t&) override { return value(); }
    bool binary(binary_t&) override { return value(); }

    bool string(string_t& text) override {
        if (target_ != nullptr) *target_ = std::move(text);
        return value();
    }

    bool start_object(std::size_t) override {
        value();
        open_.emplace_back();
        return true;
    }

    bool key(string_t& key) override {
        if (open_.size() == 1) target_ = targetOf(key);
        open_.back().push_back(std::move(key));
        return true;
    }

    bool end_object() override {
        std::vector<std::string>& keys = open_.back();
        std::sort(keys.begin(), keys.end());
        const auto twice = std::adjacent_find(keys.begin(), keys.end());
        if (twice != keys.end()) fail(Kind::DuplicateKey, json(*twice).dump(-1, ' ', true));
        open_.pop_back();
        return true;
    }

    /// Lists count as open, so that the keys of an object in a list are not those of the entry.
    bool start_array(std::size_t) override {
        value();
        open_.emplace_back();
        return true;
    }

    bool end_array() override {
        open_.pop_back();
        return true;
    }

    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception& error) override {
        fail(faultAt(position, error), "byte " + std::to_string(position));
        return false;
    }

private:
    bool value() {
        target_ = nullptr;
        return true;
    }

    std::string* targetOf(const std::string& key) {
        if (key == "message") return &line_.type;
        if (key == "severity") return &line_.severity;
        return key == "timestamp" ? &line_.timestamp : nullptr;
    }

    void fail(Kind fault, std::string detail) {
        line_.fault = fault;
        line_.detail = std::move(detail);
    }

    /// `position` is the number of bytes that the parser has read. The text of its exception is the
    /// only place that names the kind of the error.
    Kind faultAt(std::size_t position, const nlohmann::detail::exception& error) const {
        constexpr int OUT_OF_RANGE = 406;
        const std::string_view what = error.what();
        if (what.find("ill-formed UTF-8") != std::string_view::npos) {
            const bool isHalf = position >= 2 && text_.substr(position - 2, 1) == "\xED";
            return isHalf ? Kind::LoneSurrogate : Kind::NotUtf8;
        }
        if (what.find("surrogate U+") != std::string_view::npos) return Kind::LoneSurrogate;
        return error.id == OUT_OF_RANGE || isNotFinite(position) ? Kind::NotFinite : Kind::NotJson;
    }

    /// Whether the value that the parser was reading is what C and C++ write for such numbers.
    bool isNotFinite(std::size_t position) const {
        constexpr std::array<std::string_view, 4> NAMES = {"inf", "nan", "NaN", "Infinity"};
        const std::string_view read = text_.substr(0, position);
        const std::size_t last = read.empty() ? 0 : read.size() - 1;
        const std::size_t before = read.find_last_of(":,[ -", last);
        const std::string_view word =
            text_.substr(before == std::string_view::npos ? 0 : before + 1);
        return std::any_of(NAMES.begin(), NAMES.end(), [&](std::string_view name) {
            return word.substr(0, name.size()) == name;
        });
    }

    const std::string_view text_;
    Line line_;
    /// Where the text after the current key goes.
    std::string* target_ = nullptr;
    /// The keys of every object and list that is not closed yet.
    std::vector<std::vector<std::string>> open_;
};

}  // namespace

Line readLine(const std::string& text) {
    // The parser takes a zero byte for the end, and skips a byte order mark.
    if (text.find('\0') != std::string::npos) return {Kind::ZeroBytes, {}, {}, {}, {}};
    if (text.rfind("\xEF\xBB\xBF", 0) == 0) return {Kind::NotJson, "byte order mark", {}, {}, {}};
    Reader reader(text);
    json::sax_parse(text, &reader);
    Line line = reader.take();
    const std::size_t first = text.find_first_not_of(" \t\r");
    const bool isObject = first != std::string::npos && text[first] == '{';
    const bool isJson = line.fault.value_or(Kind::DuplicateKey) == Kind::DuplicateKey;
    if (isJson && !isObject) return {Kind::NotAnEntry, {}, {}, {}, {}};
    return line;
}

}  // namespace KorvelCheck
