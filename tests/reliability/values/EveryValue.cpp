// every_value OPERATIONS: random operations on a Message and on nlohmann's JSON.

#include "support/Trees.h"

#include <iostream>

using Korvel::Message;
using Json = nlohmann::json;

namespace {

/// A value behind a kept reference, or shown by a kept map, and the values around it.
struct Place {
    Message* message;
    Json* model;
    const std::map<std::wstring, Message>* shown = nullptr;
    std::vector<const Json*> path = {};
};

/// What the getters return; the levels take turns at getMap and forEach, narrow and wide text.
Json read(const Message& value, bool isEven) {
    if (value.isBoolean()) return value.getBoolean();
    if (value.isInteger()) return value.getInteger();
    if (value.isDouble()) return value.getDouble();
    if (value.isString()) {
        return isEven ? value.getString() : Message::wstrToStr(value.getWstring());
    }
    Json made = value.isNull() ? Json() : value.isMap() ? Json::object() : Json::array();
    const auto add = [&](std::wstring_view key, const Message& child) {
        made[Message::wstrToStr(std::wstring(key))] = read(child, !isEven);
    };
    if (value.isVector()) {
        for (const auto& child : value.getVector()) made.push_back(read(child, !isEven));
    } else if (value.isMap() && isEven) {
        for (const auto& [key, child] : value.getMap()) add(key, child);
    } else if (value.isMap()) {
        value.forEach(add);
    }
    return made;
}

void require(bool holds, const Message& message, const Json& model) {
    if (holds) return;
    std::cout << "every value: " << message.toJson(false, "") << " is not " << model << '\n';
    std::exit(1);
}

void expectSame(const Message& message, const Json& model) {
    static bool isEven = false;
    isEven = !isEven;
    require(message.toJson(false, "") == model.dump(), message, model);
    require(Json::parse(message.toJson(true, "")) == model, message, model);
    require(read(message, isEven) == model, message, model);
    require(message.isString() == model.is_string(), message, model);
    require(message.size() == model.size(), message, model);
}

struct Game {
    /// A kept place, or one that is found level by level.
    Place choose() {
        if (!kept.empty() && trees.next(3) == 0) return kept[trees.next(kept.size())];
        Place place{&root, &model};
        while (place.model->is_structured() && !place.model->empty() && trees.next(4) != 0) {
            const auto position = trees.next(place.model->size());
            const auto child = std::next(place.model->begin(), static_cast<int>(position));
            place.path.push_back(place.model);
            place.message = place.model->is_array() ? &(*place.message)[position]
                            : position % 2 == 0
                                ? &place.message->at(child.key())
                                : &(*place.message)[Message::strToWstr(child.key())];
            place.model = &*child;
        }
        return place;
    }

    /// Before a change that ends what is kept inside of `changed`.
    void forgetInside(const Json* changed) {
        std::erase_if(kept, [changed](const Place& place) {
            return (place.shown != nullptr && place.model == changed) ||
                   std::find(place.path.begin(), place.path.end(), changed) != place.path.end();
        });
    }

    void assign(const Place& place, Message message, const Json& json) {
        forgetInside(place.model);
        if (trees.next(2) == 0) {
            *place.message = message;
        } else {
            *place.message = std::move(message);
        }
        *place.model = json;
    }

    void moveElsewhere(const Place& from) {
        Message taken;
        taken = std::move(*from.message);
        forgetInside(from.model);
        const Json json = *from.model;
        if (json.is_string() || json.is_structured()) *from.model = nullptr;
        expectSame(*from.message, *from.model);
        assign(choose(), std::move(taken), json);
    }

    /// From inside of the changed value itself.
    void moveToRoot(const Place& from) {
        const Json json = *from.model;
        kept.clear();
        root = std::move(*from.message);
        model = json;
    }

    void insert(Place place) {
        const std::string key = std::to_string(trees.next(6)) + trees.text().second;
        place.path.push_back(place.model);
        place.message = &(*place.message)[key];
        place.model = &(*place.model)[key];
        place.shown = nullptr;
        kept.push_back(place);
    }

    void step() {
        Place place = choose();
        expectSame(*place.message, *place.model);
        const auto [fresh, json] = trees.value(3);
        const auto action = trees.next(8);
        if (action == 0 && place.model->is_object()) {
            place.shown = &place.message->getMap();
            kept.push_back(place);
        } else if (action < 4 && (place.model->is_object() || place.model->is_null())) {
            insert(place);
        } else if (action < 4 && place.model->is_array()) {
            forgetInside(place.model);
            place.message->push_back(fresh);
            place.model->push_back(json);
        } else if (action == 5) {
            moveElsewhere(place);
        } else if (action == 6 && trees.next(8) == 0) {
            moveToRoot(place);
        } else if (action == 7) {
            assign(place, fresh, json);
        }
    }

    void checkAll() {
        expectSame(root, model);
        for (const Place& place : kept) {
            expectSame(*place.message, *place.model);
            if (place.shown != nullptr) expectSame(*place.shown, *place.model);
        }
        if (kept.size() > 50 || model.dump().size() > 2000) assign({&root, &model}, {}, {});
    }

    Trees trees;
    Message root;
    Json model;
    std::vector<Place> kept;
};

}  // namespace

int main(int, char** arguments) {
    const int operations = std::stoi(arguments[1]);
    Game game;
    for (int i = 0; i < operations; ++i) {
        game.step();
        if (i % 32 == 0) game.checkAll();
    }
    std::cout << "every value: " << operations << " operations, 0 differences\n";
}
