#include <Korvel/FileSink.h>

#include "message/Utf.h"
#include "sinks/OutputFile.h"

namespace Korvel {
namespace {

constexpr std::size_t NOTICE_BYTES = 500;

Message oversizeNotice(const std::string& text) {
    return {{"message", "Message to long"},
            {"messageData", Utf::readablePrefix(text, NOTICE_BYTES)}};
}

}  // namespace

FileSink::FileSink(const std::filesystem::path& path, bool truncate, bool pretty,
                   std::uint64_t sizeLimit)
    : FileSink(std::make_unique<OutputFile>(
                   path, truncate ? OutputFile::Mode::Truncate : OutputFile::Mode::Append),
               pretty, sizeLimit) {}

FileSink::FileSink(std::unique_ptr<OutputFile> stream, bool pretty, std::uint64_t sizeLimit)
    : stream_(std::move(stream)), pretty_(pretty), sizeLimit_(sizeLimit) {}

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
    // Nothing to push: every line has left the process by the time its append returns.
}

void FileSink::append(const Message& message) {
    std::string text = message.toJson(pretty_, std::string());
    if (text.size() > sizeLimit_) text = oversizeNotice(text).toJson(pretty_, std::string());
    writeLine(std::move(text));
}

void FileSink::appendString(std::string text) {
    writeLine(std::move(text));
}

std::uint64_t FileSink::getSize() {
    const std::lock_guard<std::mutex> guard(sinkLock);
    return stream_->position();
}

void FileSink::writeLine(std::string line) {
    line.push_back('\n');
    const std::lock_guard<std::mutex> guard(sinkLock);
    stream_->write(std::move(line));
}

}  // namespace Korvel
