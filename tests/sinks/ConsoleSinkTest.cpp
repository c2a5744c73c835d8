// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <sstream>

TEST(ConsoleSink, ListedKeysComeFirstAndAllOthersInMapOrder) {
    const Message described({{"count", 3},
                             {"details", {{"ok", true}, {"path", "C:\\temp"}}},
                             {"message", "DiskCheck"},
                             {"timestamp", "2026-11-18T21:16:42.123Z"},
                             {"MessageDescription", "Disk check finished"}});
    std::ostringstream stream;
    ConsoleSink(stream).append(described);
    EXPECT_EQ(stream.str(),
              "\"timestamp\": \"2026-11-18T21:16:42.123Z\"\n\"MessageDescription\": \"Disk check "
              "finished\"\n\"count\": 3\n\"details\": {\n  \"ok\": true,\n  \"path\": "
              "\"C:\\\\temp\"\n}\n\"message\": \"DiskCheck\"\n\n");
    stream.str("");
    const Message entry(
        {{"a", 1}, {"Z", 2}, {"n", Message()}, {"q\"", "\""}, {"\xF0\x9F\x98\x80", 3}});
    ConsoleSink(stream, {L"n", L"absent", L"a", L"n", L"\U0001F600"}).append(entry);
    EXPECT_EQ(stream.str(),
              "\"n\": null\n\"a\": 1\n\"n\": null\n\"\xF0\x9F\x98\x80\": 3\n"
              "\"Z\": 2\n\"q\"\": \"\\\"\"\n\n");
}

TEST(ConsoleSink, FailuresLeaveWholeLinesAndAUsableSink) {
    std::ostringstream stream;
    ConsoleSink sink(stream, {L"first"});
    EXPECT_THROW(sink.append(5), WrongTypeException);
    EXPECT_THROW(ConsoleSink(stream, {}).append(5), WrongTypeException);
    EXPECT_THROW(sink.append({{L"first", 1}, {L"k", L"\xD83D\x0041"}}), std::range_error);
    sink.append(std::map<std::string, Message>());
    stream.setstate(std::ios::badbit);
    sink.append({{"k", 1}});
    sink.flush();
    EXPECT_EQ(stream.str(), "\"first\": 1\n\n");
    EXPECT_THROW(stream.exceptions(std::ios::badbit), std::ios::failure);
    EXPECT_THROW(sink.append(5), WrongTypeException);
}
