// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Delivery.h"

#include "command_line/CommandLine.h"

namespace DiskCheck {

/// Replaces HttpDelivery.cpp in a build without libcurl.
std::unique_ptr<Delivery> makeHttpDelivery(const std::string&) {
    throw CommandLine::UsageError("This disk_check was built without libcurl and has no --upload.");
}

}  // namespace DiskCheck
