// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Export.h>
#include <Korvel/Logger.h>
#include <Korvel/Message.h>

#include <chrono>
#include <memory>
#include <string>

/// Values, loggers and sinks.
namespace Korvel {

/// Creates an Extender that sets `key` to a copy of `value`. This and the other two factories throw
/// WrongKeyException if `key` is empty or "message". Their Extenders may be used from several
/// threads at once.
KORVEL_API std::shared_ptr<Logger> createStaticExtender(std::shared_ptr<Logger> logger,
                                                        std::wstring key, Message value);

/// Creates an Extender that sets `key` to the id of the thread that calls log: a String with the
/// text that a stream writes for `std::this_thread::get_id()`. It distinguishes the threads of a
/// process; the number is the standard library's, not the one that system tools show.
KORVEL_API std::shared_ptr<Logger> createThreadIdExtender(std::shared_ptr<Logger> logger,
                                                          std::wstring key);

/// Creates an Extender that sets `key` to the time of the log call: a String in the form of
/// createIso8601String. By default ConsoleSink shows the key "timestamp" first.
KORVEL_API std::shared_ptr<Logger> createTimestampExtender(std::shared_ptr<Logger> logger,
                                                           std::wstring key);

/// Returns the time as ISO 8601 text in UTC, with milliseconds: "2026-11-18T21:16:42.123Z".
///
/// Milliseconds are rounded down, also before 1970: one nanosecond before the epoch is
/// "1969-12-31T23:59:59.999Z". The calendar is proleptic Gregorian, with a year 0. Years have at
/// least four digits; years above 9999 have more, and years below 0 start with a minus sign. If the
/// global C++ locale is not the classic one, its `time_put` facet formats everything before the
/// milliseconds.
///
/// Threads: may be called from any thread; there is no shared state.
KORVEL_API std::wstring createIso8601String(const std::chrono::system_clock::time_point& time);

}  // namespace Korvel
