// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/Iso8601.h"

#include "message/text/IntegerText.h"

#include <Korvel/Functions.h>

#include <cstring>
#include <ctime>
#include <iterator>
#include <locale>
#include <sstream>

namespace Korvel {
namespace {

/// Enough for the digits of any year and everything after it.
constexpr std::size_t LONGEST = 48;
constexpr std::int64_t MILLISECONDS_PER_DAY = 86400000;
constexpr std::int64_t DAYS_PER_ERA = 146097;   // The calendar repeats itself after 400 years.
constexpr std::int64_t DAYS_TO_EPOCH = 719468;  // From 0000-03-01 to 1970-01-01.

/// A day of the proleptic Gregorian calendar. Month and day start at 1.
struct Date {
    std::int64_t year;
    unsigned month;
    unsigned day;
};

/// A day since 1970-01-01, and the time of that day.
struct Moment {
    std::int64_t day;
    unsigned millisecond;
};

std::int64_t floorDivide(std::int64_t dividend, std::int64_t divisor) {
    return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
}

Moment toMoment(const std::chrono::system_clock::time_point& time) {
    const std::int64_t sinceEpoch =
        std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
    const std::int64_t day = floorDivide(sinceEpoch, MILLISECONDS_PER_DAY);
    return {day, static_cast<unsigned>(sinceEpoch - day * MILLISECONDS_PER_DAY)};
}

/// The date of a day since 1970-01-01. Internally years start on 1 March, which puts the leap day
/// at the end of the year and makes month lengths a linear pattern that repeats every five months.
Date toDate(std::int64_t daysSinceEpoch) {
    const std::int64_t days = daysSinceEpoch + DAYS_TO_EPOCH;
    const std::int64_t era = floorDivide(days, DAYS_PER_ERA);
    const auto dayOfEra = static_cast<unsigned>(days - era * DAYS_PER_ERA);
    const unsigned yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayFromMarch = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned monthFromMarch = (5 * dayFromMarch + 2) / 153;
    const unsigned month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    return {era * 400 + yearOfEra + (month <= 2 ? 1 : 0), month,
            dayFromMarch - (153 * monthFromMarch + 2) / 5 + 1};
}

/// The day of the year, starting at 0 on 1 January.
int dayOfYear(const Date& date) {
    constexpr int DAYS_BEFORE[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const bool isLeapYear = date.year % 4 == 0 && (date.year % 100 != 0 || date.year % 400 == 0);
    const int leapDay = isLeapYear && date.month > 2 ? 1 : 0;
    return DAYS_BEFORE[date.month - 1] + leapDay + static_cast<int>(date.day) - 1;
}

/// Years have at least four digits.
char* writeYear(char* out, std::int64_t year) {
    if (year < 0) *out++ = '-';
    const std::int64_t magnitude = year < 0 ? -year : year;
    return magnitude < 10000 ? IntegerText::writePadded(out, static_cast<unsigned>(magnitude), 4)
                             : IntegerText::write(out, magnitude);
}

/// Writes a separator and a number of two digits.
char* writeField(char* out, char separator, unsigned value) {
    *out = separator;
    return IntegerText::writePadded(out + 1, value, 2);
}

/// Writes the milliseconds and the UTC designator.
char* writeEnd(char* out, unsigned milliseconds) {
    *out = '.';
    out = IntegerText::writePadded(out + 1, milliseconds, 3);
    *out = 'Z';
    return out + 1;
}

/// Writes date and time of day up to the seconds.
char* writeSecond(char* out, std::int64_t day, unsigned second) {
    const Date date = toDate(day);
    out = writeYear(out, date.year);
    out = writeField(out, '-', date.month);
    out = writeField(out, '-', date.day);
    out = writeField(out, 'T', second / 3600);
    out = writeField(out, ':', second / 60 % 60);
    return writeField(out, ':', second % 60);
}

/// The text in the classic locale. A thread often logs many times a second, so each thread caches
/// the text of its last second. The cache is trivially destructible, because a destructor that runs
/// at thread exit would keep the library from being unloaded.
Message classicText(const Moment& moment) {
    struct Cache {
        std::int64_t day;
        unsigned second;
        std::size_t size;
        char text[LONGEST];
    };
    thread_local Cache cache = {};
    const unsigned second = moment.millisecond / 1000;
    if (cache.size == 0 || cache.second != second || cache.day != moment.day) {
        cache.day = moment.day;
        cache.second = second;
        cache.size =
            static_cast<std::size_t>(writeSecond(cache.text, moment.day, second) - cache.text);
    }
    char text[LONGEST];
    std::memcpy(text, cache.text, sizeof text);
    *writeEnd(text + cache.size, moment.millisecond % 1000) = '\0';
    return static_cast<const char*>(text);
}

std::wstring facetText(const Moment& moment) {
    const Date date = toDate(moment.day);
    const unsigned second = moment.millisecond / 1000;
    std::tm fields = {};
    fields.tm_year = static_cast<int>(date.year - 1900);
    fields.tm_mon = static_cast<int>(date.month) - 1;
    fields.tm_mday = static_cast<int>(date.day);
    fields.tm_hour = static_cast<int>(second / 3600);
    fields.tm_min = static_cast<int>(second / 60 % 60);
    fields.tm_sec = static_cast<int>(second % 60);
    // 1970-01-01 was a Thursday, and weekdays count from Sunday.
    fields.tm_wday = static_cast<int>(((moment.day + 4) % 7 + 7) % 7);
    fields.tm_yday = dayOfYear(date);
    std::wostringstream stream;
    const std::wstring format = L"%FT%T";
    const auto& facet = std::use_facet<std::time_put<wchar_t>>(stream.getloc());
    facet.put(std::ostreambuf_iterator<wchar_t>(stream), stream, L' ', &fields, format.data(),
              format.data() + format.size());
    char text[LONGEST];
    char* const end = writeEnd(text, moment.millisecond % 1000);
    return stream.str() + std::wstring(&text[0], end);
}

}  // namespace

std::wstring createIso8601String(const std::chrono::system_clock::time_point& time) {
    return iso8601Message(time).getWstring();
}

Message iso8601Message(const std::chrono::system_clock::time_point& time) {
    const Moment moment = toMoment(time);
    if (std::locale() == std::locale::classic()) return classicText(moment);
    return facetText(moment);
}

}  // namespace Korvel
