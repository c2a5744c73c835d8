#pragma once

#include <filesystem>
#include <functional>
#include <vector>

namespace Korvel {

/// Offers one closed staging file to the callable, under its temporary name, and deletes it if the
/// callable returns true. Whatever else happens, an exception included, gives the file its name
/// back.
void uploadStagedFile(const std::filesystem::path& stagedPath,
                      const std::function<bool(const std::filesystem::path&)>& uploadFile);

/// Moves the files that `last` names to the end of the list, in the order of `last`, and forgets
/// the names that are not in the list.
void moveToEnd(std::vector<std::filesystem::path>& files, std::vector<std::filesystem::path>& last);

/// Deletes a delivered file. One that is no longer there is no error; a failure throws
/// `std::filesystem::filesystem_error`.
void removeDelivered(const std::filesystem::path& file);

}  // namespace Korvel
