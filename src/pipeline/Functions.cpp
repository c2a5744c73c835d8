#include <Korvel/Functions.h>

#include <Korvel/Extender.h>

#include <locale>
#include <sstream>
#include <thread>

namespace Korvel {
namespace {

/// The id as a stream writes it, but without the digit grouping of a global locale.
std::wstring currentThreadId() {
    std::wostringstream stream;
    stream.imbue(std::locale::classic());
    stream << std::this_thread::get_id();
    return stream.str();
}

}  // namespace

std::shared_ptr<Logger> createStaticExtender(std::shared_ptr<Logger> logger, std::wstring key,
                                             Message value) {
    return std::make_shared<Extender>(std::move(logger), std::move(key),
                                      [value = std::move(value)](const Message&) { return value; });
}

std::shared_ptr<Logger> createThreadIdExtender(std::shared_ptr<Logger> logger, std::wstring key) {
    return std::make_shared<Extender>(std::move(logger), std::move(key),
                                      [](const Message&) { return Message(currentThreadId()); });
}

std::shared_ptr<Logger> createTimestampExtender(std::shared_ptr<Logger> logger, std::wstring key) {
    return std::make_shared<Extender>(std::move(logger), std::move(key), [](const Message&) {
        return Message(createIso8601String(std::chrono::system_clock::now()));
    });
}

}  // namespace Korvel
