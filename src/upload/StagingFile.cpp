// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "upload/StagingFile.h"

#include <Korvel/Functions.h>
#include <Korvel/LogglySink.h>

#include <algorithm>
#include <cassert>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <type_traits>

namespace Korvel {
namespace {

using std::filesystem::path;

/// Wide text as part of a path. Where paths are narrow, the library's conversion is used, because
/// the standard one may depend on the locale.
path toPath(const std::wstring& text) {
    if constexpr (std::is_same_v<path::value_type, wchar_t>) {
        return {text};
    } else {
        return {Message::wstrToStr(text)};
    }
}

/// No file has such a name, but the system takes the text up to the NUL for it.
bool hasNul(const path& candidate) {
    return candidate.native().find(path::value_type()) != path::string_type::npos;
}

bool isFree(const path& candidate) {
    if (hasNul(candidate)) return true;
    std::error_code error;
    const auto status = std::filesystem::status(candidate, error);
    return error || status.type() == std::filesystem::file_type::not_found;
}

/// Compares the text, because every staged path is the directory joined with a name.
bool isReserved(const path& candidate, const std::vector<path>* reserved) {
    return reserved != nullptr &&
           std::any_of(reserved->begin(), reserved->end(), [&candidate](const path& name) {
               return name.native() == candidate.native();
           });
}

}  // namespace

// Initialised before the statics of other files, which may use it when the library is linked
// statically.
[[gnu::init_priority(101)]] const path LogglySink::SUFFIX = "log";

path LogglySink::getNewFileName(const path& directory) {
    return findFreeFileName(directory, stagingPrefix());
}

path LogglySink::findFreeFileName(const path& directory, const std::wstring& prefix) {
    return StagingNames(directory, prefix).nextFree();
}

// Joined as text: a prefix is part of a name, even if it looks like a path.
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

path temporaryName(const path& stagedPath) {
    return path(stagedPath) += ".tmp";
}

StagingFile createStagingFile(const path& directory, OutputFile::Mode mode,
                              const std::vector<path>* reserved) {
    assert(mode == OutputFile::Mode::CreateNew || mode == OutputFile::Mode::CreatePrivate);
    StagingNames names(directory, stagingPrefix());
    while (true) {
        path candidate = names.nextFree();
        // The order matters: a run keeps its names reserved until after its last rename, so the
        // disk check is reliable once a name is no longer reserved.
        if (isReserved(candidate, reserved) || !isFree(temporaryName(candidate))) continue;
        auto file = std::make_unique<OutputFile>(candidate, mode);
        if (!file->wasTaken() || hasNul(candidate)) return {std::move(candidate), std::move(file)};
    }
}

}  // namespace Korvel
