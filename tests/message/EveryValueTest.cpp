// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"
#include "support/Trees.h"

#include <cstdlib>
#include <iostream>

using Json = nlohmann::json;

/// A value behind a kept reference, or shown by a kept map, and the values around it.
struct Place {
    Message* message;
    Json* model;
    const std::map<std::wstring, Message>* shown = nullptr;
    std::vector<const Json*> path = {};
};

/// What the getters return; narrow and wide text alternate by level.
static Json read(const Message& value, bool isEven) {
    if (value.isNull()) return nullptr;
    if (value.isBoolean()) return value.getBoolean();
    if (value.isInteger()) return value.getInteger();
    if (value.isDouble()) return value.getDouble();
    if (value.isString() && isEven) return value.getString();
    if (value.isString()) return Message::wstrToStr(value.getWstring());
    Json made = value.isMap() ? Json::object() : Json::array();
    if (value.isVector()) {
        for (const Message& child : value.getVector()) made.push_back(read(child, !isEven));
        return made;
    }
    value.forEach([&](std::wstring_view key, const Message& child) {
        made[Message::wstrToStr(std::wstring(key))] = read(child, !isEven);
    });
    return made;
}

/// Random operations on a Message and on its model, the same value of another library.
struct EveryValue : testing::Test {
    void expectSame(const Message& message, const Json& expected) {
        isEven = !isEven;
        EXPECT_EQ(message.toJson(false, ""), expected.dump());
        EXPECT_EQ(Json::parse(message.toJson(true, "")), expected);
        EXPECT_EQ(read(message, isEven), expected);
        EXPECT_EQ(message.size(), expected.size());
    }

    /// A kept place, or one that is found level by level.
    Place choose() {
        if (!kept.empty() && trees.next(3) == 0) return kept[trees.next(kept.size())];
        Place place{&root, &model};
        while (place.model->is_structured() && !place.model->empty() && trees.next(4) != 0) {
            const auto position = trees.next(place.model->size());
            const auto child = std::next(place.model->begin(), static_cast<int>(position));
            Message& parent = *place.message;
            place.message = place.model->is_array() ? &parent[position]
                            : isEven                ? &parent.at(child.key())
                                                    : &parent[Message::strToWstr(child.key())];
            place.path.push_back(place.model);
            place.model = &*child;
        }
        return place;
    }

    /// Before a change that ends what is kept inside `changed`.
    void forgetInside(const Json* changed) {
        std::erase_if(kept, [changed](const Place& place) {
            return (place.shown != nullptr && place.model == changed) ||
                   std::find(place.path.begin(), place.path.end(), changed) != place.path.end();
        });
    }

    /// Returns what has to become equal to `json`.
    Message& change(const Place& place, const Json& json) {
        forgetInside(place.model);
        *place.model = json;
        return *place.message;
    }

    void move(const Place& from) {
        const Json json = *from.model;
        if (trees.next(8) == 0) {  // From inside the changed value itself.
            change({&root, &model}, json) = std::move(*from.message);
            return;
        }
        Message taken;
        taken = std::move(*from.message);
        const bool becomesNull = json.is_string() || json.is_structured();
        expectSame(change(from, becomesNull ? Json() : json), *from.model);
        change(choose(), json) = std::move(taken);
    }

    void insert(Place place) {
        const std::string key = std::to_string(trees.next(6)) + trees.text().second;
        place.path.push_back(place.model);
        kept.push_back({&(*place.message)[key], &(*place.model)[key], nullptr, place.path});
    }

    void step() {
        const Place place = choose();
        expectSame(*place.message, *place.model);
        const auto [fresh, json] = trees.value(3);
        const auto action = trees.next(8);
        if (action == 0 && place.model->is_object()) {
            const auto* const shown = &place.message->getMap();
            kept.push_back({place.message, place.model, shown, place.path});
        } else if (action < 4 && (place.model->is_object() || place.model->is_null())) {
            insert(place);
        } else if (action < 4 && place.model->is_array()) {
            forgetInside(place.model);
            place.message->push_back(fresh);
            place.model->push_back(json);
        } else if (action == 4) {
            move(place);
        } else if (action == 5) {
            change(place, json) = fresh;
        }
    }

    Trees trees;
    Message root;
    Json model;
    std::vector<Place> kept;
    bool isEven = false;
};

TEST_F(EveryValue, IsWhatTheSameOperationsMakeOfTheModel) {
    const char* const chosen = std::getenv("OPERATIONS");
    const int operations = chosen == nullptr ? 5000 : std::atoi(chosen);
    for (int i = 0; i < operations && !HasFailure(); ++i) {
        step();
        if (i % 32 != 0) continue;
        expectSame(root, model);
        for (const Place& place : kept) {
            expectSame(*place.message, *place.model);
            if (place.shown != nullptr) expectSame(*place.shown, *place.model);
        }
        if (kept.size() > 50 || model.dump().size() > 2000) change({&root, &model}, {}) = {};
    }
    if (chosen != nullptr) std::cout << operations << " operations, 0 differences\n";
}
