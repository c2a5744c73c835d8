// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "StagingDirectory.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>

namespace UploadCore {

using std::filesystem::path;

std::vector<path> namesEndingIn(const path& directory, const std::string& ending) {
    const path::string_type tail = path(ending).native();
    std::vector<path> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        path name = entry.path().filename();
        const auto& text = name.native();
        const bool fits = text.size() >= tail.size() &&
                          text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
        if (fits) names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    return names;
}

path currentFileOf(Korvel::LogglySink& sink, const path& directory) {
    const std::vector<path> closed = sink.getLogFiles();
    for (const path& name : namesEndingIn(directory, ".log")) {
        if (std::find(closed.begin(), closed.end(), directory / name) == closed.end()) {
            return directory / name;
        }
    }
    throw std::runtime_error("Cannot make a file in " + directory.string() + ".");
}

void endSink(std::shared_ptr<Korvel::LogglySink> sink, const path& directory) {
    const path current = currentFileOf(*sink, directory);
    sink.reset();  // Closed first, because not every system can delete an open file.
    std::error_code error;
    if (std::filesystem::file_size(current, error) == 0) std::filesystem::remove(current, error);
}

}  // namespace UploadCore
