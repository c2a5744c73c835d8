// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/ConsoleSink.h>

#include "message/JsonWriter.h"
#include "message/text/TextBlock.h"
#include "message/text/TextBuffer.h"
#include "message/text/Utf.h"

#include <algorithm>
#include <iostream>

namespace Korvel {
namespace {

class Block {
public:
    void addLine(std::wstring_view key, const Message& value) {
        text_.push_back('"');
        addKey(key);
        text_.append("\": ");
        values_.write(value);
        end();
    }

    /// Ends a line, or the block by an empty line.
    void end() {
        text_.push_back('\n');
        size_ = text_.view().size();
    }

    std::string_view wholeLines() const { return text_.view().substr(0, size_); }

private:
    void addKey(std::wstring_view key) {
        // The fast path for most keys.
        char* const out = text_.room(key.size());
        if (TextBlock::tryNarrow(out, key.data(), key.size())) {
            text_.endAt(out + key.size());
        } else {
            text_.append(Utf::encode(key));
        }
    }

    TextBuffer text_;
    JsonWriter values_{text_, true, std::string()};
    std::size_t size_ = 0;
};

bool contains(const std::vector<std::wstring>& keys, std::wstring_view key) {
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

void write(std::ostream& stream, std::string_view text) {
    // Even an empty write can throw on a failed stream and flushes a tied one.
    if (text.empty()) return;
    // Unformatted output, because a width that the application has set on its stream must not apply
    // here.
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

}  // namespace

ConsoleSink::ConsoleSink() : ConsoleSink(std::cout) {}

ConsoleSink::ConsoleSink(std::ostream& stream, const std::vector<std::wstring>& keys)
    : keys_(keys), stream_(stream) {
    // A Map stores split keys, and append compares with those.
    for (auto& key : keys_) key = Utf::splitSupplementary(key);
}

ConsoleSink::~ConsoleSink() = default;

void ConsoleSink::flush() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    stream_.flush();
}

/// The block is rendered first and written at once. If some text in it cannot be converted, the
/// complete lines before it are written.
void ConsoleSink::append(const Message& message) {
    const std::lock_guard<std::mutex> guard(sinkLock);
    Block block;
    try {
        for (const auto& key : keys_) {
            if (message.hasKey(key)) block.addLine(key, message.at(key));
        }
        message.forEach([&](std::wstring_view key, const Message& value) {
            if (!contains(keys_, key)) block.addLine(key, value);
        });
    } catch (...) {
        write(stream_, block.wholeLines());
        throw;
    }
    block.end();
    write(stream_, block.wholeLines());
    stream_.flush();
}

}  // namespace Korvel
