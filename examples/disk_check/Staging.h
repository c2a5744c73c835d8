#pragma once

#include "Delivery.h"

#include <Korvel/LogglySink.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

namespace DiskCheck {

/// The staging directory of this program and its delivery. Files left there by earlier runs are
/// delivered with the new ones.
///
/// Errors: `std::runtime_error` with a sentence for the user.
class Staging {
public:
    /// Creates the directory if it is missing.
    Staging(std::filesystem::path directory, std::unique_ptr<Delivery> delivery);

    const std::shared_ptr<Korvel::LogglySink>& sink() const;

    /// Delivers everything in one run and returns how much it was. Call it once, when nobody else
    /// owns the sink. Throws if a file is left.
    void deliver();

private:
    std::string leftText() const;

    const std::filesystem::path directory_;
    const std::unique_ptr<Delivery> delivery_;
    std::shared_ptr<Korvel::LogglySink> sink_;
    std::size_t delivered_ = 0;
    std::size_t left_ = 0;
};

}  // namespace DiskCheck
