// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>

namespace HttpUpload {

/// Appends the rest of `file` to `body` in the gzip format, in pieces of 64 KiB. Throws
/// `std::runtime_error` if that fails.
void gzip(std::FILE* file, std::FILE* body);

}  // namespace HttpUpload
