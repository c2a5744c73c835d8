// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/FileSink.h>

#include "message/JsonWriter.h"
#include "message/text/TextBuffer.h"
#include "message/text/Utf.h"
#include "sinks/OutputFile.h"

#include <cassert>

namespace Korvel {
namespace {

constexpr std::size_t MAX_NOTICE_BYTES = 500;

/// The wording, "to long" included, is prescribed by the file format.
Message oversizeNotice(std::string_view text) {
    return {{"message", "Message to long"},
            {"messageData", Utf::readablePrefix(text, MAX_NOTICE_BYTES)}};
}

}  // namespace

FileSink::FileSink(const std::filesystem::path& path, bool truncate, bool pretty,
                   std::uint64_t sizeLimit)
    : FileSink(std::make_unique<OutputFile>(
                   path, truncate ? OutputFile::Mode::Truncate : OutputFile::Mode::Append),
               pretty, sizeLimit) {}

FileSink::FileSink(std::unique_ptr<OutputFile> file, bool pretty, std::uint64_t sizeLimit)
    : file_(std::move(file)), pretty_(pretty), sizeLimit_(sizeLimit) {
    assert(file_ != nullptr);
}

FileSink::~FileSink() = default;

std::shared_ptr<FileSink> FileSink::create(const std::filesystem::path& path, bool truncate,
                                           bool pretty, std::uint64_t sizeLimit) noexcept {
    try {
        return std::make_shared<FileSink>(path, truncate, pretty, sizeLimit);
    } catch (...) {
        return nullptr;
    }
}

void FileSink::flush() {
    // Nothing is buffered: every line has left the process when its append returns.
}

void FileSink::append(const Message& message) {
    TextBuffer line;
    JsonWriter(line, pretty_, std::string()).write(message);
    if (line.view().size() > sizeLimit_) {
        appendString(oversizeNotice(line.view()).toJson(pretty_, std::string()));
        return;
    }
    line.push_back('\n');
    write(line.view());
}

void FileSink::appendString(std::string text) {
    text.push_back('\n');
    write(text);
}

std::uint64_t FileSink::getSize() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    return file_->position();
}

void FileSink::write(std::string_view line) {
    const std::lock_guard<std::mutex> guard(sinkLock);
    file_->write(line);
}

}  // namespace Korvel
