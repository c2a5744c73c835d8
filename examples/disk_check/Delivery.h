#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace DiskCheck {

/// The destination of staging files.
///
/// Threads: deliver is called by an upload run, the other functions before and after it.
class Delivery {
public:
    Delivery() = default;
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;
    virtual ~Delivery() = default;

    /// Delivers the file, whose name ends in ".tmp", and returns whether it has arrived completely.
    /// Never throws, because an exception would end the run.
    virtual bool deliver(const std::filesystem::path& file) = 0;

    /// The destination in readable form.
    virtual std::string destination() const = 0;

    /// The reasons why files were not delivered, one sentence each.
    virtual std::vector<std::string> problems() = 0;
};

/// Copies files into the directory "delivered" next to `stage`, which is created if it is missing.
/// Never replaces a file there. Throws `std::runtime_error`.
std::unique_ptr<Delivery> makeLocalDelivery(const std::filesystem::path& stage);

/// Sends files to the log service at `url` with the token from the environment. Throws UsageError,
/// also if this program was built without libcurl.
std::unique_ptr<Delivery> makeHttpDelivery(const std::string& url);

}  // namespace DiskCheck
