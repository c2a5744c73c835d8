#pragma once

#include <filesystem>
#include <string>

namespace Bench {

/// A name of its own for this process in `directory`; what it names goes with the object.
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
