#include "support/Test.h"

#include <algorithm>
#include <regex>

namespace fs = std::filesystem;

/// The rotating sink on a directory of its own, and what stands in there.
struct LogglySinkTest : testing::Test {
    /// The names, sorted.
    Entries names() const {
        Entries found;
        for (const auto& entry : fs::directory_iterator(directory.path)) {
            found.push_back(entry.path().filename().string());
        }
        std::ranges::sort(found);
        return found;
    }

    std::string content() const {
        std::string text;
        for (const std::string& name : names()) text += readFile(directory.path / name);
        return text;
    }

    void put(const std::string& name, const std::string& text = "") const {
        std::ofstream(directory.path / name) << text;
    }

    const TemporaryDirectory directory;
};

TEST_F(LogglySinkTest, NamesAreNumberedAndFree) {
    put("a_0.log");
    fs::create_directory(directory.path / "a_1.log");
    put("a.b_0.log");
    EXPECT_EQ(LogglySink::findFreeFileName(directory.path, L"a"), directory.path / "a_2.log");
    EXPECT_EQ(LogglySink::findFreeFileName(directory.path, L"a.b"), directory.path / "a.b_1.log");
    EXPECT_EQ(LogglySink::findFreeFileName("", L"\u00E9"), fs::path(u8"\u00E9_0.log"));
    const std::regex form(R"(\d{4}-\d\d-\d\dT\d\d-\d\d-\d\d-\d{3}Z_0\.log)");
    const fs::path name = LogglySink::getNewFileName(directory.path / "missing");
    EXPECT_TRUE(std::regex_match(name.filename().string(), form)) << name;
    EXPECT_EQ(names(), (Entries{"a.b_0.log", "a_0.log", "a_1.log"}));
}

TEST_F(LogglySinkTest, RotatesOnceTheFileHasReachedItsSize) {
    LogglySink sink(directory.path);
    const auto fill = [&sink](std::size_t bytes) { sink.append(std::string(bytes - 3, 'x')); };
    for (int i = 0; i < 4; ++i) fill(1048576);  // With quotes and line end each is 1 MiB on disk.
    EXPECT_EQ(names().size(), 1U);
    sink.flush();
    sink.append("second file");
    ASSERT_EQ(names().size(), 2U);
    EXPECT_EQ(sink.getLogFiles(), std::vector<fs::path>{directory.path / names()[0]});
    EXPECT_EQ(fs::file_size(directory.path / names()[0]), LogglySink::MAX_FILE_SIZE);
    fill(4 * 1048576);
    EXPECT_EQ(readFile(directory.path / names()[1]).substr(0, 61),
              "\"second file\"\n{\"message\":\"Message to long\",\"messageData\":\"\\\"x");
    sink.useNewFile();
    for (int i = 0; i < 3; ++i) fill(1048576);
    fill(1048575);
    fill(100);
    EXPECT_EQ(names().size(), 3U);
    fill(100);
    EXPECT_EQ(names().size(), 4U);
}

TEST_F(LogglySinkTest, MissingDirectoryDropsEntriesUntilItExists) {
    LogglySink sink(directory.path / "late");
    sink.append("dropped");
    EXPECT_EQ(sink.getLogFiles(), std::vector<fs::path>());
    fs::create_directory(directory.path / "late");
    sink.append("written");
    EXPECT_EQ(readFile(fs::directory_iterator(directory.path / "late")->path()), "\"written\"\n");
}

TEST_F(LogglySinkTest, SinksInOneDirectoryNeverShareAFile) {
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this] {
            for (int i = 0; i < 50; ++i) LogglySink(directory.path).append(i);
        });
    }
    threads.clear();
    EXPECT_EQ(names().size(), 200U);
    EXPECT_EQ(std::ranges::count(content(), '\n'), 200);
}

TEST_F(LogglySinkTest, RunOffersEachClosedFileOnceAndFollowsTheAnswers) {
    const Entries files = {".log", "a.log", "b.log"};
    for (const std::string& name : files) put(name, name);
    for (const char* name : {"c.log.tmp", "D.LOG", "plain"}) put(name);
    LogglySink sink(directory.path);
    EXPECT_FALSE(sink.uploadRunning());
    sink.waitForUpload();
    sink.uploadTemporaryFiles();
    sink.waitForUpload();
    EXPECT_EQ(names().size(), 7U);
    Entries seen;
    sink.setUploadFile([&](const fs::path& file) {
        seen.push_back(file.filename().string());
        sink.setUploadFile([](const fs::path&) { return true; });
        if (readFile(file) == "b.log") return !fs::remove(file);
        return readFile(file) == "a.log";
    });
    sink.uploadTemporaryFiles();
    sink.waitForUpload();
    EXPECT_FALSE(sink.uploadRunning());
    std::ranges::sort(seen);
    EXPECT_EQ(seen, (Entries{".log.tmp", "a.log.tmp", "b.log.tmp"}));
    EXPECT_EQ(names().size(), 5U);
    sink.uploadTemporaryFiles();
    sink.waitForUpload();
    EXPECT_EQ(sink.getLogFiles(), std::vector<fs::path>());
}

TEST_F(LogglySinkTest, ErrorsEndTheRunAndLeaveTheFilesReady) {
    LogglySink sink(directory.path);
    put("a.log");
    put("b.log");
    const auto ready = sink.getLogFiles();
    for (const bool isEmpty : {true, false}) {
        int calls = 0;
        const auto failing = [&calls](const fs::path&) -> bool {
            throw std::runtime_error(std::to_string(++calls));
        };
        sink.setUploadFile(isEmpty ? nullptr : std::function<bool(const fs::path&)>(failing));
        sink.uploadTemporaryFiles();
        sink.waitForUpload();
        EXPECT_FALSE(sink.uploadRunning());
        EXPECT_EQ(calls, isEmpty ? 0 : 1);
        EXPECT_EQ(sink.getLogFiles(), ready);
    }
    fs::create_directory(directory.path / "c.log");
    put("c.log/in the way");
    sink.setUploadFile([](const fs::path&) { return true; });
    for (int run = 0; run < 3; ++run) {
        sink.uploadTemporaryFiles();
        sink.waitForUpload();
    }
    EXPECT_TRUE(fs::exists(directory.path / "c.log" / "in the way"));
}

TEST_F(LogglySinkTest, BlockedRunDelaysNeitherAppendNorRotationAndTheEndWaitsForIt) {
    std::latch entered(1);
    std::latch released(1);
    std::chrono::steady_clock::duration slowest{};
    bool hasEnded = false;
    {
        LogglySink sink(directory.path);
        put("a.log");
        sink.setUploadFile([&](const fs::path&) {
            entered.count_down();
            released.wait();
            return hasEnded = true;
        });
        sink.uploadTemporaryFiles();
        entered.wait();
        put("later.log");
        sink.uploadTemporaryFiles();
        EXPECT_TRUE(sink.uploadRunning());
        for (int i = 0; i < 2000; ++i) {
            const auto begin = std::chrono::steady_clock::now();
            sink.append(std::string(4000, 'x'));
            slowest = std::max(slowest, std::chrono::steady_clock::now() - begin);
        }
        released.count_down();
    }
    std::printf("slowest append: %.3f ms\n",
                std::chrono::duration<double, std::milli>(slowest).count());
    EXPECT_LT(slowest, std::chrono::seconds(1));
    EXPECT_TRUE(hasEnded);
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
    std::string seen;
    bool isDelivered = true;
    const auto upload = [&](const fs::path& file) {
        seen = file.extension().string() + " " + readFile(file);
        return isDelivered;
    };
    LogglySink::directUploadLogEntry({{"count", 3}}, upload);
    EXPECT_EQ(seen, ".log {\"count\":3}\n");
    EXPECT_TRUE(fs::is_empty(work));
#ifndef _WIN32
    EXPECT_EQ(fs::status(work).permissions(), fs::perms::owner_all);
#endif
    LogglySink::directUploadLogEntry(1, [](const fs::path& file) { return fs::remove(file); });
    EXPECT_TRUE(fs::is_empty(work));
    isDelivered = false;
    LogglySink::directUploadLogEntry(std::string(2000000, 'x'), upload);
    EXPECT_EQ(seen.size(), 2000008U);
    EXPECT_THROW(LogglySink::directUploadLogEntry(1, nullptr), std::bad_function_call);
    EXPECT_THROW(LogglySink::directUploadLogEntry(L"\xD83D\x0041", upload), std::range_error);
    EXPECT_EQ(std::distance(fs::directory_iterator(work), {}), 3);
}

TEST_F(DirectUpload, DirectoryErrorsReachTheCaller) {
    const auto failure = [] {
        try {
            LogglySink::directUploadLogEntry(1, [](const fs::path&) { return true; });
            return std::string("no error");
        } catch (const fs::filesystem_error& error) {
            return std::string(error.what());
        }
    };
    put("directUpload");
    EXPECT_NE(failure().find("create_directories(p): invalid argument"), std::string::npos);
    setTemporary((directory.path / "missing").string());
    EXPECT_NE(failure().find("temp_directory_path(): can't find temp directory"),
              std::string::npos);
}

TEST_F(DirectUpload, ManyThreadsGetAFileEach) {
    std::vector<std::jthread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 200; ++i) {
                LogglySink::directUploadLogEntry("x", [](const fs::path&) { return false; });
            }
        });
    }
    threads.clear();
    int whole = 0;
    for (const auto& entry : fs::directory_iterator(work)) whole += readFile(entry) == "\"x\"\n";
    EXPECT_EQ(whole, 1600);
    EXPECT_EQ(std::distance(fs::directory_iterator(work), {}), 1600);
}
