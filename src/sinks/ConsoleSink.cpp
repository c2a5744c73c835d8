#include <Korvel/ConsoleSink.h>

#include "message/text/Utf.h"

#include <algorithm>
#include <iostream>

namespace Korvel {

ConsoleSink::ConsoleSink() : ConsoleSink(std::cout) {}

ConsoleSink::ConsoleSink(std::ostream& stream, const std::vector<std::wstring>& keys)
    : keys_(keys), stream_(stream) {
    // Keys of a Map are kept split, and isListed compares with those.
    for (auto& key : keys_) key = Utf::splitSupplementary(key);
}

ConsoleSink::~ConsoleSink() = default;

void ConsoleSink::flush() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    stream_.flush();
}

void ConsoleSink::append(const Message& message) {
    const std::lock_guard<std::mutex> guard(sinkLock);
    for (const auto& key : keys_) {
        if (message.hasKey(key)) writeLine(key, message.at(key));
    }
    for (const auto& [key, value] : message.getMap()) {
        if (!isListed(key)) writeLine(key, value);
    }
    stream_ << std::endl;
}

bool ConsoleSink::isListed(const std::wstring& key) const {
    return std::find(keys_.begin(), keys_.end(), key) != keys_.end();
}

/// Makes the whole line before it writes, so that text which cannot be converted leaves no torn
/// one.
void ConsoleSink::writeLine(const std::wstring& key, const Message& value) {
    const std::string line =
        '"' + Message::wstrToStr(key) + "\": " + value.toJson(true, std::string()) + '\n';
    // Unformatted, because a width that the application has set on its stream is not meant for us.
    stream_.write(line.data(), static_cast<std::streamsize>(line.size()));
}

}  // namespace Korvel
