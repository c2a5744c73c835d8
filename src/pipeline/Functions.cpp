// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Functions.h>

#include "pipeline/Iso8601.h"

#include <Korvel/Extender.h>

#include <locale>
#include <sstream>
#include <thread>

namespace Korvel {
namespace {

/// The id as a stream writes it, but without the digit grouping of a global locale.
std::string threadIdText() {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << std::this_thread::get_id();
    return stream.str();
}

/// The same, created once per thread. The cache is trivially destructible, because a destructor
/// that runs at thread exit would keep the library from being unloaded.
Message currentThreadId() {
    thread_local char cache[32] = {};
    if (cache[0] == '\0') {
        const std::string text = threadIdText();
        if (text.size() >= sizeof cache) return text;
        text.copy(cache, text.size());
    }
    return static_cast<const char*>(cache);
}

}  // namespace

std::shared_ptr<Logger> createStaticExtender(std::shared_ptr<Logger> logger, std::wstring key,
                                             Message value) {
    return std::make_shared<Extender>(std::move(logger), std::move(key),
                                      [value = std::move(value)](const Message&) { return value; });
}

std::shared_ptr<Logger> createThreadIdExtender(std::shared_ptr<Logger> logger, std::wstring key) {
    return std::make_shared<Extender>(std::move(logger), std::move(key),
                                      [](const Message&) { return currentThreadId(); });
}

std::shared_ptr<Logger> createTimestampExtender(std::shared_ptr<Logger> logger, std::wstring key) {
    return std::make_shared<Extender>(std::move(logger), std::move(key), [](const Message&) {
        return iso8601Message(std::chrono::system_clock::now());
    });
}

}  // namespace Korvel
