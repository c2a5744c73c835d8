#pragma once

#include <filesystem>

namespace DiskCheck {

/// Makes a directory with all those above it, if it is missing. Throws `std::runtime_error` with a
/// sentence for the user.
void makeDirectory(const std::filesystem::path& directory);

}  // namespace DiskCheck
