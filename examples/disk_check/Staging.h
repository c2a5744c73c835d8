// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "Delivery.h"

#include <Korvel/LogglySink.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

namespace DiskCheck {

/// The staging directory of this program, and the delivery of its files. Files that earlier runs
/// have left there are delivered as well.
///
/// Errors: `std::runtime_error` with a sentence for the user.
class Staging {
public:
    /// Makes the directory if it is missing.
    Staging(std::filesystem::path directory, std::unique_ptr<Delivery> delivery);

    const std::shared_ptr<Korvel::LogglySink>& sink() const;

    /// Delivers everything in one run and prints the number of files. Call it once, when nothing
    /// else owns the sink any more. Throws if a file is left.
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
