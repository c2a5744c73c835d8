#include <Korvel/Functions.h>

#include <ctime>
#include <iterator>
#include <locale>
#include <sstream>

namespace Korvel {
namespace {

constexpr std::int64_t MILLISECONDS_PER_DAY = 86400000;
constexpr std::int64_t DAYS_PER_ERA = 146097;   // The calendar repeats itself after 400 years.
constexpr std::int64_t DAYS_TO_EPOCH = 719468;  // From 0000-03-01 to 1970-01-01.

/// A day of the proleptic Gregorian calendar. The month and the day count from 1.
struct Date {
    std::int64_t year;
    unsigned month;
    unsigned day;
};

std::int64_t floorDivide(std::int64_t dividend, std::int64_t divisor) {
    return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
}

/// The date of a day since 1970-01-01. Years are counted from 1 March inside, which puts the leap
/// day at the end of a year and makes the lengths of the months a linear pattern of five.
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

/// Counted from 0 on 1 January.
int dayOfYear(const Date& date) {
    constexpr int DAYS_BEFORE[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const bool isLeapYear = date.year % 4 == 0 && (date.year % 100 != 0 || date.year % 400 == 0);
    const int leapDay = isLeapYear && date.month > 2 ? 1 : 0;
    return DAYS_BEFORE[date.month - 1] + leapDay + static_cast<int>(date.day) - 1;
}

void appendPadded(std::wstring& text, std::uint64_t value, std::size_t width) {
    const std::wstring digits = std::to_wstring(value);
    if (digits.size() < width) text.append(width - digits.size(), L'0');
    text += digits;
}

std::wstring classicText(const Date& date, unsigned secondOfDay) {
    std::wstring text;
    if (date.year < 0) text.push_back(L'-');
    appendPadded(text, static_cast<std::uint64_t>(date.year < 0 ? -date.year : date.year), 4);
    text.push_back(L'-');
    appendPadded(text, date.month, 2);
    text.push_back(L'-');
    appendPadded(text, date.day, 2);
    text.push_back(L'T');
    appendPadded(text, secondOfDay / 3600, 2);
    text.push_back(L':');
    appendPadded(text, secondOfDay / 60 % 60, 2);
    text.push_back(L':');
    appendPadded(text, secondOfDay % 60, 2);
    return text;
}

std::wstring facetText(const Date& date, unsigned secondOfDay, std::int64_t daysSinceEpoch) {
    std::tm fields = {};
    fields.tm_year = static_cast<int>(date.year - 1900);
    fields.tm_mon = static_cast<int>(date.month) - 1;
    fields.tm_mday = static_cast<int>(date.day);
    fields.tm_hour = static_cast<int>(secondOfDay / 3600);
    fields.tm_min = static_cast<int>(secondOfDay / 60 % 60);
    fields.tm_sec = static_cast<int>(secondOfDay % 60);
    // 1970-01-01 was a Thursday, and weekdays count from Sunday.
    fields.tm_wday = static_cast<int>(((daysSinceEpoch + 4) % 7 + 7) % 7);
    fields.tm_yday = dayOfYear(date);
    std::wostringstream stream;
    const std::wstring format = L"%FT%T";
    const auto& facet = std::use_facet<std::time_put<wchar_t>>(stream.getloc());
    facet.put(std::ostreambuf_iterator<wchar_t>(stream), stream, L' ', &fields, format.data(),
              format.data() + format.size());
    return stream.str();
}

}  // namespace

std::wstring createIso8601String(const std::chrono::system_clock::time_point& time) {
    const std::int64_t sinceEpoch =
        std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
    const std::int64_t days = floorDivide(sinceEpoch, MILLISECONDS_PER_DAY);
    const auto milliseconds = static_cast<unsigned>(sinceEpoch - days * MILLISECONDS_PER_DAY);
    const Date date = toDate(days);
    std::wstring text = std::locale() == std::locale::classic()
                            ? classicText(date, milliseconds / 1000)
                            : facetText(date, milliseconds / 1000, days);
    text.push_back(L'.');
    appendPadded(text, milliseconds % 1000, 3);
    text.push_back(L'Z');
    return text;
}

}  // namespace Korvel
