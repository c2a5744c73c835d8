// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

/// Direct uploads go below the system's temporary directory, which the environment names.
struct DirectUpload : testing::Test {
    DirectUpload() { setTemporary(directory.path.string()); }
    ~DirectUpload() override { setTemporary(before); }

    static void setTemporary(const std::string& path) {
#ifdef _WIN32
        _putenv_s("TMP", path.c_str());
#else
        setenv("TMPDIR", path.c_str(), 1);
#endif
    }

    static void expectRefusal(const std::string& text) {
        try {
            LogglySink::directUploadLogEntry(1, [](const fs::path&) { return true; });
            ADD_FAILURE() << "no error";
        } catch (const fs::filesystem_error& error) {
            EXPECT_NE(std::string(error.what()).find(text), std::string::npos) << error.what();
        }
    }

    static constexpr char NO_DIRECTORY[] = "create_directories(p): invalid argument";
    const TemporaryDirectory directory;
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
    LogglySink::directUploadLogEntry(1, upload);
    EXPECT_TRUE(fs::is_empty(work));
    LogglySink::directUploadLogEntry(std::string(2000000, 'x'), upload);
    EXPECT_EQ(seen.at(2).size(), 2000007U);
    EXPECT_THROW(LogglySink::directUploadLogEntry(1, nullptr), std::bad_function_call);
    EXPECT_THROW(LogglySink::directUploadLogEntry(L"\xD83D\x0041", upload), std::range_error);
    EXPECT_EQ(std::distance(fs::directory_iterator(work), {}), 3);
}

TEST_F(DirectUpload, DirectoryErrorsReachTheCaller) {
    std::ofstream(work) << "in the way";
    expectRefusal(NO_DIRECTORY);
    setTemporary((directory.path / "missing").string());
    expectRefusal("temp_directory_path(): can't find temp directory");
}

#ifndef _WIN32
TEST_F(DirectUpload, OnlyTheOwnerCanReadTheFiles) {
    const auto mask = umask(022);
    fs::perms seen = {};
    LogglySink::directUploadLogEntry(
        1, [&seen](const fs::path& file) { return seen = fs::status(file).permissions(), true; });
    EXPECT_EQ(seen, fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(fs::status(work).permissions(), fs::perms::owner_all);
    // Staging files are left to the umask.
    LogglySink sink(work);
    const auto staged = fs::status(fs::directory_iterator(work)->path()).permissions();
    EXPECT_EQ(staged, seen | fs::perms::group_read | fs::perms::others_read);
    umask(mask);
}

TEST_F(DirectUpload, DirectoryThatOthersCanChangeIsRefused) {
    for (const auto perms : {fs::perms::group_write, fs::perms::others_write}) {
        fs::create_directory(work);
        fs::permissions(work, fs::perms::owner_all | perms);
        expectRefusal(NO_DIRECTORY);
        fs::remove(work);
    }
    fs::create_directory(directory.path / "elsewhere");
    fs::create_directory_symlink(directory.path / "elsewhere", work);
    expectRefusal(NO_DIRECTORY);
    EXPECT_TRUE(fs::is_empty(directory.path / "elsewhere"));
}

TEST_F(DirectUpload, DirectoryOfAnotherUserIsRefused) {
    fs::create_directory(work);
    fs::permissions(work, fs::perms::owner_all);
    if (chown(work.c_str(), geteuid() + 1, gid_t(-1)) != 0) {
        GTEST_SKIP() << "Only root can give a directory away.";
    }
    expectRefusal(NO_DIRECTORY);
    EXPECT_TRUE(fs::is_empty(work));
}
#endif

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
