// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/TemporaryPath.h"

#include <unistd.h>

#include <system_error>

namespace Bench {

TemporaryPath::TemporaryPath(const std::filesystem::path& directory, const std::string& name)
    : path_(directory / (name + '-' + std::to_string(getpid()))) {}

TemporaryPath::~TemporaryPath() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace Bench
