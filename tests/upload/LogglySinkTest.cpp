// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <algorithm>

#ifndef _WIN32
#include "support/FileSizeLimit.h"
#endif

namespace fs = std::filesystem;

/// A directory for one sink, and what is in it.
struct LogglySinkTest : testing::Test {
    /// The names, sorted.
    Entries names() const {
        Entries found;
        for (const auto& entry : fs::directory_iterator(directory.path)) {
            found.push_back(entry.path().filename().string());
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    /// How many files hold each text.
    std::map<std::string, int> texts() const {
        std::map<std::string, int> found;
        for (const auto& entry : fs::directory_iterator(directory.path)) ++found[readFile(entry)];
        return found;
    }

    /// What the first staging file of that moment is called.
    static std::string stagingName(std::chrono::system_clock::time_point moment) {
        std::wstring stamp = createIso8601String(moment);
        for (const wchar_t mark : {L'.', L':'}) {
            std::replace(stamp.begin(), stamp.end(), mark, L'-');
        }
        return Message::wstrToStr(stamp) + "_0.log";
    }

    static void run(LogglySink& sink) {
        sink.uploadTemporaryFiles();
        sink.waitForUpload();
        EXPECT_FALSE(sink.uploadRunning());
    }

    void put(const std::string& name, const std::string& text = "") const {
        std::ofstream(directory.path / name) << text;
    }

    const TemporaryDirectory directory;
};

TEST_F(LogglySinkTest, NamesAreNumberedAndFree) {
    for (const char* name : {"a_0.log", "a.b_0.log"}) put(name);
    fs::create_directory(directory.path / "a_1.log");
    EXPECT_EQ(LogglySink::findFreeFileName(directory.path, L"a"), directory.path / "a_2.log");
    EXPECT_EQ(LogglySink::findFreeFileName(directory.path, L"a.b"), directory.path / "a.b_1.log");
    EXPECT_EQ(LogglySink::findFreeFileName("", L"\u00E9"), fs::path(u8"\u00E9_0.log"));
    std::string name = LogglySink::getNewFileName(directory.path).filename().string();
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c >= '0' && c <= '8'; }, '9');
    EXPECT_EQ(name, "9999-99-99T99-99-99-999Z_9.log");
}

TEST_F(LogglySinkTest, RotatesOnceTheFileHasReachedItsSize) {
    LogglySink sink(directory.path);
    constexpr std::size_t QUOTES_AND_LINE_END = sizeof LINE_END + 1;
    const auto fill = [&sink](std::size_t bytesOnDisk) {
        sink.append(std::string(bytesOnDisk - QUOTES_AND_LINE_END, 'x'));
    };
    for (int i = 0; i < 4; ++i) fill(1048576);
    EXPECT_EQ(names().size(), 1U);
    sink.append("second file");
    ASSERT_EQ(names().size(), 2U);
    EXPECT_EQ(sink.getLogFiles(), std::vector<fs::path>{directory.path / names()[0]});
    EXPECT_EQ(fs::file_size(directory.path / names()[0]), LogglySink::MAX_FILE_SIZE);
    sink.append(std::string(1048575, 'x'));
    EXPECT_EQ(readFile(directory.path / names()[1]).substr(0, 42),
              "\"second file\"\n{\"message\":\"Message to long\"");
    sink.useNewFile();
    for (const std::size_t bytes : {1048576U, 1048576U, 1048576U, 1048575U, 100U}) fill(bytes);
    EXPECT_EQ(names().size(), 3U);
    fill(100);
    EXPECT_EQ(names().size(), 4U);
}

TEST_F(LogglySinkTest, MissingDirectoryDropsEntriesUntilItExists) {
    const fs::path late = directory.path / u8"late \u00E9\U0001F600";
    LogglySink sink(late);
    sink.append("dropped");
    EXPECT_FALSE(fs::exists(late));
    fs::create_directory(late);
    sink.append("written");
    EXPECT_EQ(readFile(fs::directory_iterator(late)->path()), "\"written\"\n");
}

TEST_F(LogglySinkTest, RunOffersEachClosedFileOnceAndFollowsTheAnswers) {
    for (const char* name : {".log", "a.log", "b.log", "c.log.tmp", "D.LOG", "plain"})
        put(name, name);
    LogglySink sink(directory.path);
    run(sink);
    EXPECT_EQ(sink.getLogFiles().size(), 3U);
    Entries seen;
    sink.setUploadFile([&](const fs::path& file) {
        seen.push_back(file.filename().string());
        sink.setUploadFile([](const fs::path&) { return true; });
        const std::string text = readFile(file);
        return text == "b.log" ? !fs::remove(file) : text == "a.log";
    });
    run(sink);
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, (Entries{".log.tmp", "a.log.tmp", "b.log.tmp"}));
    EXPECT_EQ(sink.getLogFiles(), std::vector<fs::path>{directory.path / ".log"});
    run(sink);
    EXPECT_EQ(sink.getLogFiles(), std::vector<fs::path>());
    EXPECT_EQ(names().size(), 4U);
}

TEST_F(LogglySinkTest, EntriesThatEndARunDoNotKeepTheRestFromBeingOffered) {
    // Directories that hold something, between files in whatever order the file system lists them.
    const auto putAround = [this](const std::string& name) {
        put("a " + name + ".log");
        fs::create_directories(directory.path / (name + ".log") / "in the way");
        put("z " + name + ".log");
    };
    for (const char* name : {"first", "second", "third"}) putAround(name);
    LogglySink sink(directory.path);
    int calls = 0;
    const std::function<bool(const fs::path&)> throwing = [&](const fs::path&) -> bool {
        throw ++calls;
    };
    for (const auto& upload : {decltype(throwing)(), throwing}) {
        sink.setUploadFile(upload);
        run(sink);
    }
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(sink.getLogFiles().size(), 9U);
    std::map<std::string, int> offers;
    sink.setUploadFile([&offers](const fs::path& file) {
        if (fs::is_directory(file)) ++offers[file.filename().string()];
        return true;
    });
    for (int i = 0; i < 4; ++i) run(sink);
    EXPECT_EQ(sink.getLogFiles().size(), 3U);
    for (int i = 0; i < 5; ++i) run(sink);
    EXPECT_EQ(offers, (std::map<std::string, int>{
                          {"first.log.tmp", 3}, {"second.log.tmp", 3}, {"third.log.tmp", 3}}));
}

TEST_F(LogglySinkTest, RotationTakesNoNameOfAFileInUpload) {
    constexpr int ROUNDS = 10;
    LogglySink sink(directory.path);
    std::string name;
    const auto appendToANewFileAtItsTime = [&] {
        while (LogglySink::getNewFileName(directory.path) < directory.path / name) continue;
        sink.useNewFile();
        sink.append("appended");
        return false;
    };
    const auto putForLater = [&](const char* suffix, const std::string& text) {
        name = stagingName(std::chrono::system_clock::now() + std::chrono::milliseconds(20));
        put(name + suffix, text);
    };
    sink.setUploadFile(
        [&](const fs::path& file) { return file.stem() == name && appendToANewFileAtItsTime(); });
    for (int i = 0; i < ROUNDS; ++i) {
        putForLater("", "staged\n");
        run(sink);
        putForLater(".tmp", "left by a dead process\n");
        appendToANewFileAtItsTime();
        EXPECT_FALSE(fs::exists(directory.path / name));
    }
    EXPECT_EQ(texts(), (std::map<std::string, int>{{"", 1},
                                                   {"staged\n", ROUNDS},
                                                   {"left by a dead process\n", ROUNDS},
                                                   {"\"appended\"\n", 2 * ROUNDS}}));
}

TEST_F(LogglySinkTest, EmptyPathStagesAndUploadsInTheCurrentDirectory) {
    const fs::path before = fs::current_path();
    fs::current_path(directory.path);
    {
        LogglySink sink("");
        sink.append("entry");
        sink.useNewFile();
        EXPECT_EQ(sink.getLogFiles(), std::vector<fs::path>{names()[0]});
        sink.setUploadFile([](const fs::path&) { return true; });
        run(sink);
    }
    fs::current_path(before);
    EXPECT_EQ(texts(), (std::map<std::string, int>{{"", 1}}));
}

#ifndef _WIN32
TEST_F(LogglySinkTest, FullDiskLeavesTornLinesButNoEmptyFiles) {
    LogglySink sink(directory.path);
    {
        const FileSizeLimit full(0);
        for (int i = 0; i < 100; ++i) sink.append("dropped");
        EXPECT_EQ(names().size(), 1U);
    }
    {
        const FileSizeLimit full(3);
        sink.append("torn");
    }
    sink.append("whole");
    for (int i = 0; i < 2; ++i) sink.useNewFile();
    EXPECT_EQ(texts(), (std::map<std::string, int>{{"\"to", 1}, {"\"whole\"\n", 1}, {"", 2}}));
}
#endif

TEST_F(LogglySinkTest, BlockedRunDelaysNeitherAppendNorRotationAndTheEndWaitsForIt) {
    Gate entered;
    Gate released;
    std::chrono::duration<double, std::milli> slowest{};
    {
        put("a.log");
        LogglySink sink(directory.path);
        sink.setUploadFile([&](const fs::path&) {
            entered.open();
            released.wait();
            return true;
        });
        sink.uploadTemporaryFiles();
        entered.wait();
        put("later.log");
        sink.uploadTemporaryFiles();
        EXPECT_TRUE(sink.uploadRunning());
        for (int i = 0; i < 2000; ++i) {
            const auto begin = std::chrono::steady_clock::now();
            sink.append(std::string(4000, 'x'));
            slowest =
                std::max<decltype(slowest)>(slowest, std::chrono::steady_clock::now() - begin);
        }
        released.open();
    }
    std::printf("Slowest append during a blocked run: %.3f ms\n", slowest.count());
    EXPECT_LT(slowest.count(), 1000);
    EXPECT_EQ(names().size(), 3U);  // Two staged, and the one that came later.
}
