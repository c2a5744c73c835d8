// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/WrongKeyException.h>

namespace Korvel {

WrongKeyException::~WrongKeyException() = default;

const char* WrongKeyException::what() const noexcept {
    return "Extender key must not be empty or 'message'";
}

}  // namespace Korvel
