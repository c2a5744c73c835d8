// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Export.h>

#include <exception>

namespace Korvel {

/// Thrown when a Message is read or changed as a type that it does not hold.
class KORVEL_API WrongTypeException : public std::exception {
public:
    WrongTypeException() noexcept = default;
    WrongTypeException(const WrongTypeException&) noexcept = default;
    WrongTypeException& operator=(const WrongTypeException&) noexcept = default;
    ~WrongTypeException() override;

    /// Always "You tried to access the wrong type.".
    const char* what() const noexcept override;
};

}  // namespace Korvel
