// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/ReopeningFileSink.h>

#include <iterator>
#include <set>

#ifndef _WIN32
#include "support/FileSizeLimit.h"

#include <sys/stat.h>
#include <unistd.h>

static int syncs = 0;
static int syncResult = 0;

// Replaces that of the system, for the library, too.
extern "C" __attribute__((visibility("default"))) int fsync(int) {
    ++syncs;
    return syncResult;
}
#endif

using namespace Korvel::Extras;
using namespace std::chrono_literals;
namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;

struct ReopeningFileSinkTest : testing::Test {
    ReopeningFileSinkTest() {
        options.clock = [this] { return now; };
        options.onFailure = [this](std::string_view action, const std::error_code&) {
            failures.emplace_back(action);
            throw std::runtime_error("A reporter that fails");
        };
    }

    /// Every entry is an Integer, so a line has as many bytes as digits, and its line end.
    static void append(ReopeningFileSink& sink, std::initializer_list<std::int64_t> entries) {
        for (const std::int64_t entry : entries) sink.append(entry);
    }

    fs::path numbered(int number) const { return fs::path(file) += "." + std::to_string(number); }

    static void put(const fs::path& path, const char* text) { std::ofstream(path) << text; }

    /// The text of each file, by its name.
    Files files() const {
        Files found;
        for (const auto& entry : fs::directory_iterator(directory.path)) {
            if (entry.is_regular_file()) {
                found[entry.path().filename().string()] = readFile(entry.path());
            }
        }
        return found;
    }

    const TemporaryDirectory directory;
    const fs::path file = directory.path / "log";
    ReopeningFileSinkOptions options;
    std::chrono::steady_clock::time_point now{1h};
    Entries failures;
    static constexpr std::uint64_t LINE_BYTES = sizeof LINE_END;  // One digit and the line end.
};

TEST_F(ReopeningFileSinkTest, FirstLineBeginsOnALineOfItsOwnInWhatAnotherProcessHasLeft) {
    for (const char* before : {"", "whole\n", "to", "whole\nto"}) {
        put(file, before);
        ReopeningFileSink sink(file, options);
        append(sink, {1, 2});
        EXPECT_THROW(sink.append(L"\xD83D\x0041"), std::range_error);
        const std::string lineEnd = std::string(before).find("to") == std::string::npos ? "" : "\n";
        EXPECT_EQ(readFile(file), before + lineEnd + "1\n2\n");
    }
    const fs::path absent = directory.path / "absent" / "log";
    EXPECT_THROW(ReopeningFileSink(absent, options), fs::filesystem_error);
}

TEST_F(ReopeningFileSinkTest, ReopensBeforeTheNextWriteAndInFlushAndKeepsTheOldFileUntilItCan) {
    ReopeningFileSink sink(file, options);
    append(sink, {1});
    fs::rename(file, numbered(1));
    append(sink, {2});
    sink.reopen();
    append(sink, {3});
    fs::rename(file, numbered(2));
    sink.reopen();
    sink.flush();
    EXPECT_EQ(files(), (Files{{"log", ""}, {"log.1", "1\n2\n"}, {"log.2", "3\n"}}));

    append(sink, {4});
    fs::rename(file, numbered(3));
    fs::create_directory(file);
    sink.reopen();
    append(sink, {5});
    fs::remove(file);
    now += 999ms;
    append(sink, {6});
    EXPECT_EQ(readFile(numbered(3)), "4\n5\n6\n");
    now += 1ms;
    append(sink, {7});
    EXPECT_EQ(readFile(file), "7\n");
    EXPECT_EQ(failures, Entries{"open"});
    EXPECT_TRUE(sink.status().lastError);
}

TEST_F(ReopeningFileSinkTest, FollowsThePathOnceASecondIfAsked) {
    options.checksPath = true;
    ReopeningFileSink sink(file, options);
    append(sink, {1});
    fs::rename(file, numbered(1));
    append(sink, {2});
    now += 1s;
    append(sink, {3});
    EXPECT_EQ(files(), (Files{{"log", "3\n"}, {"log.1", "1\n2\n"}}));
}

TEST_F(ReopeningFileSinkTest, RotatesBeforeAnEntryThatWouldExceedTheBound) {
    options.maxBytes = 2 * LINE_BYTES;
    options.keptFiles = 3;
    put(file, "to");
    put(numbered(2), "kept\n");
    ReopeningFileSink sink(file, options);
    append(sink, {1, 2, 3});
    EXPECT_EQ(files(),
              (Files{{"log", "3\n"}, {"log.1", "1\n2\n"}, {"log.2", "to"}, {"log.3", "kept\n"}}));
    append(sink, {123456789, 4, 5});
    EXPECT_EQ(
        files(),
        (Files{
            {"log", "4\n5\n"}, {"log.1", "123456789\n"}, {"log.2", "3\n"}, {"log.3", "1\n2\n"}}));
    fs::remove(numbered(1));
    append(sink, {6});
    fs::resize_file(file, 0);
    append(sink, {987654321});
    EXPECT_EQ(
        files(),
        (Files{
            {"log", "987654321\n"}, {"log.1", "4\n5\n"}, {"log.2", "3\n"}, {"log.3", "1\n2\n"}}));
    EXPECT_EQ(failures, Entries());
}

TEST_F(ReopeningFileSinkTest, GoesOnInTheSameFileWhileARenameFails) {
    options.maxBytes = LINE_BYTES;
    options.keptFiles = 2;
    put(numbered(1), "older\n");
    fs::create_directories(numbered(2) / "occupied");
    ReopeningFileSink sink(file, options);
    append(sink, {1, 2});
    now += 1s;
    append(sink, {3});
    EXPECT_EQ(failures, (Entries{"rotate", "rotate"}));
    fs::remove_all(numbered(2));
    now += 999ms;
    append(sink, {4});
    EXPECT_EQ(files(), (Files{{"log", "1\n2\n3\n4\n"}, {"log.1", "older\n"}}));
    now += 1ms;
    append(sink, {5});
    EXPECT_EQ(files(), (Files{{"log", "5\n"}, {"log.1", "1\n2\n3\n4\n"}, {"log.2", "older\n"}}));
}

TEST_F(ReopeningFileSinkTest, ThreadsLoseAndDoubleNothingWhileTheFileIsReopenedAndRotated) {
    options.maxBytes = 500;
    options.keptFiles = 100;
    std::vector<JoiningThread> threads;
    {
        ReopeningFileSink sink(file, options);
        for (std::int64_t first = 10000; first < 11000; first += 250) {
            threads.emplace_back([&sink, first] {
                for (int i = 0; i < 250; ++i, sink.reopen()) append(sink, {first + i});
            });
        }
        threads.clear();
    }
    std::string text;
    for (const auto& [name, content] : files()) text += content;
    std::istringstream stream(text);
    const std::set<int> numbers(std::istream_iterator<int>(stream), {});
    EXPECT_EQ(numbers.size(), 1000U);
    EXPECT_EQ(text.size(), 6000U);
    EXPECT_EQ(failures, Entries());
}

#ifndef _WIN32
TEST_F(ReopeningFileSinkTest, GoesOnAfterAFullDiskAndSaysHowManyEntriesAreMissing) {
    ReopeningFileSink sink(file, options);
    append(sink, {1});
    {
        const FileSizeLimit full(4);
        append(sink, {23456, 3});
    }
    now += 999ms;
    append(sink, {5});
    EXPECT_EQ(readFile(file), "1\n23");
    EXPECT_TRUE(sink.status().isDropping);
    EXPECT_EQ(sink.status().lastError, std::errc::file_too_large);
    EXPECT_EQ(failures, Entries{"write"});
    now += 1ms;
    append(sink, {6});
    const std::string notice = R"({"dropped":3,"message":"EntriesDropped","severity":"warning"})";
    EXPECT_EQ(readFile(file), "1\n23\n" + notice + "\n6\n");
    EXPECT_FALSE(sink.status().isDropping);
    EXPECT_EQ(sink.status().dropped, 3U);
}

TEST_F(ReopeningFileSinkTest, NewFilesHaveTheModeAskedForAndTheOwnerOfTheOldOne) {
    using Rights = std::vector<unsigned>;
    const auto reopened = [this](ReopeningFileSink& sink) {
        sink.reopen();
        sink.flush();
        struct stat status = {};
        EXPECT_EQ(stat(file.c_str(), &status), 0);
        return Rights{status.st_mode & 07777U, status.st_uid, status.st_gid};
    };
    const unsigned user = geteuid() == 0 ? 65534 : geteuid();
    const unsigned group = geteuid() == 0 ? 65533 : getegid();
    const mode_t before = umask(0077);
    for (const unsigned mode : {0640U, 0666U}) {
        options.mode = fs::perms(mode);
        ReopeningFileSink sink(file, options);
        EXPECT_EQ(reopened(sink), (Rights{mode, geteuid(), getegid()}));
        EXPECT_EQ(chown(file.c_str(), user, group), 0);
        fs::remove(file);
        EXPECT_EQ(reopened(sink), (Rights{mode, user, group}));
        fs::permissions(file, fs::perms(0604));
        EXPECT_EQ(reopened(sink), (Rights{0604, user, group}));
        fs::remove(file);
    }
    umask(before);
}

TEST_F(ReopeningFileSinkTest, SyncsEveryFewEntriesOrAfterATimeAndInFlush) {
    const std::tuple<int, std::chrono::milliseconds, int> cases[] = {
        {0, 0ms, 0}, {3, 0ms, 4}, {0, 50ms, 3}};
    for (const auto& [entries, interval, expected] : cases) {
        options.syncEntries = static_cast<std::uint64_t>(entries);
        options.syncInterval = interval;
        ReopeningFileSink sink(file, options);
        syncs = 0;
        for (int i = 0; i < 8; ++i, now += 10ms) append(sink, {i});
        sink.flush();
        sink.flush();
        append(sink, {9});
        sink.reopen();
        append(sink, {10});
        EXPECT_EQ(syncs, expected) << entries;
    }
    options.syncEntries = 1;
    syncResult = -1;
    ReopeningFileSink sink(file, options);
    append(sink, {1, 2});
    EXPECT_EQ(failures, Entries{"sync"});
    syncResult = 0;
}
#endif
