// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

namespace KorvelCheck {

/// What is reported. The kinds up to NotAnEntry concern a line by itself. The kinds from Gap on are
/// notes: a healthy log can contain them.
enum class Kind {
    NotJson,
    ZeroBytes,
    NotUtf8,
    LoneSurrogate,
    NotFinite,
    DuplicateKey,
    NotAnEntry,
    TornLine,
    TimeGoesBack,
    InterruptedUpload,
    Unreadable,
    Gap,
    EmptyFile,
    OddTime,
    Loss
};

}  // namespace KorvelCheck
