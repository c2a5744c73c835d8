#include "support/Test.h"

#include <sstream>

TEST(ConsoleSink, ListedKeysComeFirstAndAllOthersInMapOrder) {
    using Keys = std::vector<std::wstring>;
    const Message worked({{"count", 3},
                          {"details", {{"ok", true}, {"path", "C:\\temp"}}},
                          {"message", "DiskCheck"},
                          {"timestamp", "2026-11-18T21:16:42.123Z"},
                          {"MessageDescription", "Disk check finished"}});
    const Message entry(
        {{"a", 1}, {"Z", 2}, {"n", Message()}, {"q\"", "\""}, {"\xF0\x9F\x98\x80", 3}});
    const std::tuple<Message, Keys, const char*> blocks[] = {
        {worked,
         {L"timestamp", L"MessageDescription"},
         "\"timestamp\": \"2026-11-18T21:16:42.123Z\"\n\"MessageDescription\": \"Disk check "
         "finished\"\n\"count\": 3\n\"details\": {\n  \"ok\": true,\n  \"path\": "
         "\"C:\\\\temp\"\n}\n"
         "\"message\": \"DiskCheck\"\n\n"},
        {entry,
         {},
         "\"Z\": 2\n\"a\": 1\n\"n\": null\n\"q\"\": \"\\\"\"\n\"\xF0\x9F\x98\x80\": 3\n\n"},
        {entry,
         {L"n", L"absent", L"a", L"n", L"\U0001F600"},
         "\"n\": null\n\"a\": 1\n\"n\": null\n\"\xF0\x9F\x98\x80\": 3\n\"Z\": 2\n"
         "\"q\"\": \"\\\"\"\n\n"}};
    for (const auto& [message, keys, text] : blocks) {
        std::ostringstream stream;
        ConsoleSink(stream, keys).append(message);
        EXPECT_EQ(stream.str(), text);
    }
    std::ostringstream stream;
    ConsoleSink(stream).append(worked);
    EXPECT_EQ(stream.str(), std::get<2>(blocks[0]));
}

TEST(ConsoleSink, FailuresLeaveWholeLinesAndAUsableSink) {
    std::ostringstream stream;
    ConsoleSink sink(stream, {L"first"});
    EXPECT_THROW(sink.append(5), WrongTypeException);
    EXPECT_THROW(ConsoleSink(stream, {}).append(5), WrongTypeException);
    EXPECT_THROW(sink.append({{L"first", 1}, {L"k", L"\xD83D\x0041"}}), std::range_error);
    sink.append(std::map<std::string, Message>());
    EXPECT_EQ(stream.str(), "\"first\": 1\n\n");
    stream.setstate(std::ios::badbit);
    sink.append({{"k", 1}});
    sink.flush();
    EXPECT_EQ(stream.str(), "\"first\": 1\n\n");
}
