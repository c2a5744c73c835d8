// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>

namespace Bench {

/// A name in `directory` that is unique to this process. The destructor removes the file or
/// directory of that name.
class TemporaryPath {
public:
    TemporaryPath(const std::filesystem::path& directory, const std::string& name);
    TemporaryPath(const TemporaryPath&) = delete;
    TemporaryPath& operator=(const TemporaryPath&) = delete;
    ~TemporaryPath();

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace Bench
