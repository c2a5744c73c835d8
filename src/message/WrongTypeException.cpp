// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/WrongTypeException.h>

namespace Korvel {

WrongTypeException::~WrongTypeException() = default;

const char* WrongTypeException::what() const noexcept {
    return "You tried to access the wrong type.";
}

}  // namespace Korvel
