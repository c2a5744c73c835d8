// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <ctime>
#include <iterator>
#include <locale>

using std::chrono::system_clock;

std::string timeText(std::int64_t nanoseconds) {
    const std::chrono::nanoseconds sinceEpoch(nanoseconds);
    return Message::wstrToStr(createIso8601String(
        system_clock::time_point(std::chrono::floor<system_clock::duration>(sinceEpoch))));
}

TEST(Iso8601, TimesAreCutToMillisecondsAndCountedFromTheFloor) {
    const std::pair<std::int64_t, const char*> times[] = {
        {0, "1970-01-01T00:00:00.000Z"},
        {999900, "1970-01-01T00:00:00.000Z"},
        {1000000, "1970-01-01T00:00:00.001Z"},
        {50000000, "1970-01-01T00:00:00.050Z"},
        {1234567800, "1970-01-01T00:00:01.234Z"},
        {951827696789000000, "2000-02-29T12:34:56.789Z"},
        {4107542400000000000, "2100-03-01T00:00:00.000Z"},
        {-1, "1969-12-31T23:59:59.999Z"},
        {INT64_MIN, "1677-09-21T00:12:43.145Z"},
        {INT64_MAX, "2262-04-11T23:47:16.854Z"}};
    for (const auto& [nanoseconds, text] : times) EXPECT_EQ(timeText(nanoseconds), text);
}

TEST(Iso8601, EveryDayIsThatOfTheSystemsCalendar) {
    for (std::int64_t day = 0; day < 100000; ++day) {
        const std::time_t seconds = day * 86400 + 45296;
        char text[32];
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S.000Z", std::gmtime(&seconds));
        ASSERT_EQ(timeText(seconds * 1000000000), text);
    }
}

TEST(Iso8601, DateAndTimeGoThroughTheFacetOfTheGlobalLocale) {
    struct Facet : std::time_put<wchar_t> {
        iter_type do_put(iter_type out, std::ios_base&, wchar_t, const std::tm* fields, char format,
                         char) const override {
            *out++ = static_cast<wchar_t>(format);
            for (const wchar_t digit : std::to_wstring(fields->tm_wday * 1000 + fields->tm_yday))
                *out++ = digit;
            return out;
        }
    };
    const std::locale before = std::locale::global({std::locale::classic(), new Facet});
    const std::string text = timeText(-86400000000001);
    std::locale::global(before);
    EXPECT_EQ(text, "F2363TT2363.999Z");
}
