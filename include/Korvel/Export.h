// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

/// KORVEL_API marks exported symbols. KORVEL_STATIC, which the CMake target passes on
/// automatically, means that the library is linked statically. KORVEL_BUILDING is defined only
/// while the library itself is compiled.
#if defined(KORVEL_STATIC)
#define KORVEL_API
#elif defined(_WIN32)
#if defined(KORVEL_BUILDING)
#define KORVEL_API __declspec(dllexport)
#else
#define KORVEL_API __declspec(dllimport)
#endif
#else
#define KORVEL_API __attribute__((visibility("default")))
#endif
