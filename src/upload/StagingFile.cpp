#include "upload/StagingFile.h"

#include <Korvel/Functions.h>
#include <Korvel/LogglySink.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <type_traits>

namespace Korvel {
namespace {

using std::filesystem::path;

/// Wide text as part of a path. Where paths are narrow the library's own conversion is used: the
/// standard one would depend on the locale.
path toPath(const std::wstring& text) {
    if constexpr (std::is_same_v<path::value_type, wchar_t>) {
        return {text};
    } else {
        return {Message::wstrToStr(text)};
    }
}

bool isFree(const path& candidate) {
    std::error_code error;
    const auto status = std::filesystem::status(candidate, error);
    return error || status.type() == std::filesystem::file_type::not_found;
}

}  // namespace

// Before the statics of other files, which a static library shares its initialisation with.
[[gnu::init_priority(101)]] const path LogglySink::SUFFIX = "log";

path LogglySink::getNewFileName(const path& directory) {
    return findFreeFileName(directory, stagingPrefix());
}

path LogglySink::findFreeFileName(const path& directory, const std::wstring& prefix) {
    return StagingNames(directory, prefix).nextFree();
}

// Joined as text: a prefix is part of a name, even if it looks like a path of its own.
StagingNames::StagingNames(const path& directory, const std::wstring& prefix)
    : stem_(path(directory / path()) += toPath(prefix + L'_')) {}

path StagingNames::nextFree() {
    while (counter_ != (std::numeric_limits<std::uint64_t>::max)()) {
        path candidate = stem_;
        candidate += std::to_string(counter_++) + '.';
        candidate += LogglySink::SUFFIX;
        if (isFree(candidate)) return candidate;
    }
    throw std::runtime_error("LogglySink constructor could not create a new file.");
}

std::wstring stagingPrefix() {
    std::wstring prefix = createIso8601String(std::chrono::system_clock::now());
    std::replace(prefix.begin(), prefix.end(), L'.', L'-');
    std::replace(prefix.begin(), prefix.end(), L':', L'-');
    std::replace(prefix.begin(), prefix.end(), L'/', L'_');
    return prefix;
}

StagingFile createStagingFile(const path& directory) {
    StagingNames names(directory, stagingPrefix());
    while (true) {
        StagingFile staging = {names.nextFree(), nullptr};
        staging.file = std::make_unique<OutputFile>(staging.path, OutputFile::Mode::CreateNew);
        if (!staging.file->wasTaken()) return staging;
    }
}

}  // namespace Korvel
