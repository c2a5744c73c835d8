// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

// parsers FOLDER ENTRIES SINK bare|repaired: logs random entries to a file sink, reads them back,
// and prints the text of each and what a reader must find: nothing if it is not JSON by contract.

#include "support/Trees.h"

#include <Korvel/Extras.h>

#include <simdjson.h>
#include <fstream>
#include <iostream>
#include <queue>
#include <set>

using namespace Korvel;
using Json = nlohmann::json;
using std::filesystem::path;

static bool isRead(const std::string& text, const std::string& wanted) {
    static simdjson::dom::parser parser;
    const Json json = Json::parse(text, nullptr, false);
    const auto element = parser.parse(text);
    if (wanted.empty()) return json.is_discarded() && element.error() != simdjson::SUCCESS;
    return json == Json::parse(wanted) && Json::parse(simdjson::minify(element)) == json;
}

int main(int, char** arguments) {
    const path folder = arguments[1];
    const std::string name = arguments[3];
    const bool isBare = arguments[4] == std::string("bare");
    std::shared_ptr<Sink> sink = std::make_shared<LogglySink>(folder);
    if (name != "staged") sink = FileSink::create(folder / "log", true, name == "pretty", SIZE_MAX);
    if (name == "reopening") sink = std::make_shared<Extras::ReopeningFileSink>(folder / "log");
    if (!isBare) sink = std::make_shared<Extras::WellFormedSink>(sink);
    Trees trees;
    std::queue<std::string> wanted;
    for (int i = 0; i < std::stoi(arguments[2]); ++i) {
        trees.isHostile = i % 2 == 0;
        trees.isNotJson = trees.isRefused = false;
        const auto [message, json] = trees.container(true);
        try {
            sink->append(message);
            wanted.push(isBare && trees.isNotJson ? "" : json.dump());
        } catch (const std::range_error&) {
            if (!isBare || !trees.isRefused) throw;
        }
    }
    std::string text;
    for (const path& file : std::set<path>(std::filesystem::directory_iterator(folder), {})) {
        std::ifstream lines(file);
        for (std::string line; std::getline(lines, line);) {
            text += line + '\n';
            if (line == "{" || line[0] == ' ') continue;
            if (wanted.empty() || !isRead(text, wanted.front())) return 1;
            std::cout << text << '\0' << wanted.front() << '\0';
            wanted.pop();
            text.clear();
        }
    }
    return wanted.empty() ? 0 : 1;
}
