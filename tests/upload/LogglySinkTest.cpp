#include "support/Test.h"

#include <algorithm>

namespace fs = std::filesystem;

/// The rotating sink on a directory of its own, and what stands in there.
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

TEST_F(LogglySinkTest, ErrorsEndTheRunAndLeaveTheFilesReady) {
    for (const char* name : {"a.log", "b.log"}) put(name);
    LogglySink sink(directory.path);
    const auto ready = sink.getLogFiles();
    sink.setUploadFile(nullptr);
    run(sink);
    int calls = 0;
    sink.setUploadFile([&calls](const fs::path&) -> bool { throw ++calls; });
    run(sink);
    EXPECT_EQ(calls, 1);
    // A directory that holds something is delivered, and then it cannot be removed.
    sink.setUploadFile([](const fs::path& file) {
        return fs::remove(file) && fs::create_directories(file / "in the way");
    });
    run(sink);
    EXPECT_EQ(sink.getLogFiles(), ready);
}

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

/// Direct uploads go below the system's temporary directory, which the environment names.
struct DirectUpload : LogglySinkTest {
    DirectUpload() { setTemporary(directory.path.string()); }
    ~DirectUpload() override { setTemporary(before); }

    static void setTemporary(const std::string& path) {
#ifdef _WIN32
        _putenv_s("TMP", path.c_str());
#else
        setenv("TMPDIR", path.c_str(), 1);
#endif
    }

    const std::string before = fs::temp_directory_path().string();
    const fs::path work = directory.path / "directUpload";
};

TEST_F(DirectUpload, FileIsWholeAndItsFateFollowsTheAnswer) {
    Entries seen;
    const auto upload = [&seen](const fs::path& file) {
        seen.push_back(file.extension().string() + readFile(file));
        return seen.size() == 1 || (seen.size() == 2 && fs::remove(file));
    };
    LogglySink::directUploadLogEntry({{"count", 3}}, upload);
    EXPECT_EQ(seen.at(0), ".log{\"count\":3}\n");
#ifndef _WIN32
    EXPECT_EQ(fs::status(work).permissions(), fs::perms::owner_all);
#endif
    LogglySink::directUploadLogEntry(1, upload);
    EXPECT_TRUE(fs::is_empty(work));
    LogglySink::directUploadLogEntry(std::string(2000000, 'x'), upload);
    EXPECT_EQ(seen.at(2).size(), 2000007U);
    EXPECT_THROW(LogglySink::directUploadLogEntry(1, nullptr), std::bad_function_call);
    EXPECT_THROW(LogglySink::directUploadLogEntry(L"\xD83D\x0041", upload), std::range_error);
    EXPECT_EQ(std::distance(fs::directory_iterator(work), {}), 3);
}

TEST_F(DirectUpload, DirectoryErrorsReachTheCaller) {
    put("directUpload");
    const fs::path missing = directory.path / "missing";
    for (const std::string text : {"create_directories(p): invalid argument",
                                   "temp_directory_path(): can't find temp directory"}) {
        try {
            LogglySink::directUploadLogEntry(1, [](const fs::path&) { return true; });
            ADD_FAILURE() << "no error";
        } catch (const fs::filesystem_error& error) {
            EXPECT_NE(std::string(error.what()).find(text), std::string::npos) << error.what();
        }
        setTemporary(missing.string());
    }
}

TEST_F(DirectUpload, ManyThreadsGetAFileEach) {
    const auto upload = [](const fs::path&) { return false; };
    std::vector<JoiningThread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&upload] {
            for (int i = 0; i < 200; ++i) LogglySink::directUploadLogEntry("x", upload);
        });
    }
    threads.clear();
    std::map<std::string, int> contents;
    for (const auto& entry : fs::directory_iterator(work)) ++contents[readFile(entry)];
    EXPECT_EQ(contents, (std::map<std::string, int>{{"\"x\"\n", 1600}}));
}
