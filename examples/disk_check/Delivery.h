// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace DiskCheck {

/// Where staging files go at the end.
///
/// Threads: deliver is called by an upload run, the others before and after it.
class Delivery {
public:
    Delivery() = default;
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;
    virtual ~Delivery() = default;

    /// Delivers the file, whose name ends in ".tmp". True if it has arrived whole.
    /// Never throws, since an exception would end the run.
    virtual bool deliver(const std::filesystem::path& file) = 0;

    /// The destination, as shown to the user.
    virtual std::string destination() const = 0;

    /// Why files have not been delivered, each in a sentence.
    virtual std::vector<std::string> problems() = 0;
};

/// Copies files into the directory "delivered" next to `stage`, which is made if it is missing.
/// Never replaces a file there. Throws `std::runtime_error`.
std::unique_ptr<Delivery> makeLocalDelivery(const std::filesystem::path& stage);

/// Sends files to the log service at `url` with the token from the environment. Throws
/// `std::invalid_argument`, also if this program was built without libcurl.
std::unique_ptr<Delivery> makeHttpDelivery(const std::string& url);

}  // namespace DiskCheck
