#pragma once

#include <filesystem>
#include <functional>

namespace Korvel {

/// Offers one closed staging file to the callable, under its temporary name, and deletes it if the
/// callable returns true. Whatever else happens, an exception included, gives the file its name
/// back.
void uploadStagedFile(const std::filesystem::path& stagedPath,
                      const std::function<bool(const std::filesystem::path&)>& uploadFile);

/// Deletes a delivered file. One that is no longer there is no error; a failure throws
/// `std::filesystem::filesystem_error`.
void removeDelivered(const std::filesystem::path& file);

}  // namespace Korvel
