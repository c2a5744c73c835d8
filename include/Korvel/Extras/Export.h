// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

/// KORVEL_EXTRAS_API marks the exported symbols of Korvel::Extras. KORVEL_STATIC means that both
/// libraries are linked statically. KORVEL_EXTRAS_BUILDING is defined only while this library
/// itself is compiled.
#if defined(KORVEL_STATIC)
#define KORVEL_EXTRAS_API
#elif defined(_WIN32)
#if defined(KORVEL_EXTRAS_BUILDING)
#define KORVEL_EXTRAS_API __declspec(dllexport)
#else
#define KORVEL_EXTRAS_API __declspec(dllimport)
#endif
#else
#define KORVEL_EXTRAS_API __attribute__((visibility("default")))
#endif
