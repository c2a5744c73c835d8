#pragma once

#include <Korvel/Export.h>
#include <Korvel/Logger.h>
#include <Korvel/Message.h>

#include <chrono>
#include <memory>
#include <string>

namespace Korvel {

/// An Extender that sets `key` to a copy of `value`. This and the other two factories throw
/// WrongKeyException if `key` is empty or "message", and may be logged through from many threads at
/// once.
KORVEL_API std::shared_ptr<Logger> createStaticExtender(std::shared_ptr<Logger> logger,
                                                        std::wstring key, Message value);

/// An Extender that sets `key` to the id of the thread that calls log: a String of the text that a
/// stream writes for `std::this_thread::get_id()`. It tells the threads of a process apart; the
/// number is the standard library's, not the one that system tools show.
KORVEL_API std::shared_ptr<Logger> createThreadIdExtender(std::shared_ptr<Logger> logger,
                                                          std::wstring key);

/// An Extender that sets `key` to the time of the log call: a String in the form of
/// createIso8601String. ConsoleSink shows the key "timestamp" first.
KORVEL_API std::shared_ptr<Logger> createTimestampExtender(std::shared_ptr<Logger> logger,
                                                           std::wstring key);

/// The time as ISO 8601 text in UTC, cut to milliseconds: "2026-11-18T21:16:42.123Z".
///
/// A time before 1970 counts its milliseconds from the floor, so one nanosecond before the epoch is
/// "1969-12-31T23:59:59.999Z". The calendar is the proleptic Gregorian one, with a year 0. A year
/// has at least four digits; one above 9999 has more, and one below 0 a minus sign in front. The
/// digits go through the `time_put` facet of the global C++ locale if that is not the classic one.
///
/// Threads: any; no shared state.
KORVEL_API std::wstring createIso8601String(const std::chrono::system_clock::time_point& time);

}  // namespace Korvel
