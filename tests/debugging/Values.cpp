// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Korvel.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Korvel::Message;

Message mapOf(int count) {
    Message map(std::map<std::string, Message>{});
    for (int i = 0; i < count; ++i) map["k" + std::to_string(count - i)] = i;
    return map;
}

/// A value of every type, and Maps whose keys are in one block of slots, in two, in slots and in
/// the map of getMap, or there alone.
struct Values {
    Message null;
    Message truth = true;
    Message real = 59.9;
    Message integer = -4711;
    Message empty = "";
    Message brief = "caf\xC3\xA9";
    Message text = std::string(300, 'x');
    Message wide = std::wstring(L"lone \xD800.");
    Message vector = std::vector<Message>{1, "two", std::vector<Message>{3}};
    Message slots = {{"b", 1}, {"a", {{"in", "side"}}}, {"fifteen letters", Message()}};
    Message overflow = mapOf(7);
    Message shown = mapOf(2);
    Message mixed = {{"short", 1}};
    Message adopted = mapOf(40);
    Message emptyMap = std::map<std::string, Message>{};
};

}  // namespace

int main(int count, char**) {
    Values values;
    const Message& alias = values.shown.getMap().at(L"k1");
    values.shown["k3"] = "later";
    values.mixed["a key that does not fit into a slot"] = "two";
    values.mixed[L"\u00FC"] = 3;
    const unsigned char garbage[sizeof(Message)] = {255};
    const std::uint64_t wild[] = {static_cast<std::uint64_t>(Korvel::Detail::Type::Map), 8};
    // Here the debugger stops, and from here is the core file.
    if (count == 1) std::abort();
    return alias.isNull() || garbage[0] == wild[0] ? 1 : 0;
}
