// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "MakeDirectory.h"

#include <stdexcept>
#include <system_error>

namespace DiskCheck {

void makeDirectory(const std::filesystem::path& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error) {
        throw std::runtime_error("Cannot make the directory " + directory.string() + ": " +
                                 error.message() + ".");
    }
}

}  // namespace DiskCheck
