// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Export.h>

#include <exception>

namespace Korvel {

/// Thrown when an Extender is constructed with a key that it must not set: an empty one, or
/// "message", which holds the type name in every entry.
class KORVEL_API WrongKeyException : public std::exception {
public:
    WrongKeyException() noexcept = default;
    WrongKeyException(const WrongKeyException&) noexcept = default;
    WrongKeyException& operator=(const WrongKeyException&) noexcept = default;
    ~WrongKeyException() override;

    /// Always "Extender key must not be empty or 'message'".
    const char* what() const noexcept override;
};

}  // namespace Korvel
