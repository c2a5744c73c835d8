// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <nlohmann/json.hpp>

struct FileSinkTest : testing::Test {
    /// What the file holds after one entry.
    std::string written(const Message& message, bool pretty, std::uint64_t sizeLimit) {
        FileSink(file, true, pretty, sizeLimit).append(message);
        return readFile(file);
    }

    const TemporaryDirectory directory;
    const std::filesystem::path file = directory.path / u8"log \u00E9\U0001F600.jsonl";
    const Message entry = {
        {"count", 3}, {"message", "DiskCheck"}, {"timestamp", "2026-11-18T21:16:42.123Z"}};
};

TEST_F(FileSinkTest, EntriesUpToTheLimitAreWrittenAsTheyAreAndLongerOnesAsANotice) {
    const std::string line =
        R"({"count":3,"message":"DiskCheck","timestamp":"2026-11-18T21:16:42.123Z"})";
    EXPECT_EQ(written(entry, false, 72), line + "\n");
    EXPECT_EQ(written(entry, true, 1048576),
              "{\n  \"count\": 3,\n  \"message\": \"DiskCheck\",\n  \"timestamp\": "
              "\"2026-11-18T21:16:42.123Z\"\n}\n");
    EXPECT_EQ(written(entry, false, 71),
              R"({"message":"Message to long","messageData":"{\"count\":3,\"message\":)"
              R"(\"DiskCheck\",\"timestamp\":\"2026-11-18T21:16:42.123Z\"}"})"
              "\n");
    EXPECT_EQ(written(Message(), false, 4), "null\n");
}

TEST_F(FileSinkTest, NoticeHoldsTheFirst500BytesCutToAWholeCharacter) {
    const std::string ascii(499, 'a');
    const std::pair<std::wstring, std::string> texts[] = {
        {std::wstring(600, L'a'), "\"" + ascii},
        {std::wstring(498, L'a') + L"\u20AC", "\"" + ascii.substr(1)},
        {std::wstring(497, L'a') + L"\u00E9", "\"" + ascii.substr(2) + "\xC3\xA9"},
        {std::wstring(496, L'a') + L"\U0001F600", "\"" + ascii.substr(3)},
        {L"\xD83D", "\"\xEF\xBF\xBD\""}};
    for (const auto& [text, expected] : texts) {
        const auto notice = nlohmann::json::parse(written(text, true, 2));
        EXPECT_EQ(notice.at("message"), "Message to long");
        EXPECT_EQ(notice.at("messageData"), expected);
    }
}

TEST_F(FileSinkTest, OpensForTruncationOrForMoreAndFailsSilently) {
    FileSink(file, true, false, UINT64_MAX).appendString("one\ntwo");
    const auto sink = FileSink::create(file, false, false, 0);
    EXPECT_EQ(sink->getSize(), std::filesystem::file_size(file));
    for (const char* line : {"", "three"}) sink->appendString(line);
    EXPECT_EQ(sink->getSize(), std::filesystem::file_size(file));
    EXPECT_EQ(readFile(file), "one\ntwo\n\nthree\n");
    const FileSink emptied(file, true, false, 0);
    EXPECT_EQ(readFile(file), "");
    FileSink failed(directory.path, false, false, UINT64_MAX);
    failed.append(entry);
    EXPECT_EQ(failed.getSize(), UINT64_MAX);
    EXPECT_THROW(failed.append(L"\xD83D\x0041"), std::range_error);
}

TEST_F(FileSinkTest, AppendsWhereTheFileEndsAfterSomebodyElseHasCutIt) {
    for (const bool truncate : {true, false}) {
        FileSink sink(file, truncate, false, UINT64_MAX);
        sink.appendString("copied away");
        std::filesystem::resize_file(file, 0);
        EXPECT_EQ(sink.getSize(), 0U);
        sink.appendString("next");
        EXPECT_EQ(readFile(file), "next\n");
        EXPECT_EQ(sink.getSize(), std::filesystem::file_size(file));
    }
}
