#include "support/Test.h"

/// A directory, and the output of sinks that all write to one file or stream in it.
using Kind = std::function<void(const std::filesystem::path&, std::vector<std::shared_ptr<Sink>>&)>;

struct SinkRules : testing::TestWithParam<Kind> {
    const TemporaryDirectory directory;
};

static void makeConsole(const std::filesystem::path& file,
                        std::vector<std::shared_ptr<Sink>>& sinks) {
    static std::ofstream stream;
    stream = std::ofstream(file);
    sinks = {std::make_shared<ConsoleSink>(stream)};
}

/// Two sinks on one file: their lines stay whole because each is a single write to its end.
static void makeFiles(const std::filesystem::path& file,
                      std::vector<std::shared_ptr<Sink>>& sinks) {
    const auto all = [](const Message&) { return true; };
    sinks = {FileSink::create(file, false, true, UINT64_MAX),
             std::make_shared<Filter>(FileSink::create(file, false, true, UINT64_MAX), all)};
}

TEST_P(SinkRules, EntriesOfManyThreadsStayWhole) {
    constexpr std::size_t THREADS = 4;
    constexpr std::size_t ENTRIES = 500;
    const Message entry({{"list", std::vector<Message>{1, 2}}, {"text", std::string(10000, 'x')}});
    std::vector<std::shared_ptr<Sink>> sinks;
    GetParam()(directory.path / "log", sinks);
    sinks[0]->append(entry);
    const std::string one = readFile(directory.path / "log");
    std::vector<std::jthread> threads;
    for (std::size_t t = 0; t < THREADS; ++t) {
        threads.emplace_back([&sink = *sinks[t % sinks.size()], &entry] {
            for (std::size_t i = 0; i < ENTRIES; ++i) sink.append(entry);
        });
    }
    threads.clear();
    std::string expected;
    for (std::size_t i = 0; i <= THREADS * ENTRIES; ++i) expected += one;
    EXPECT_TRUE(readFile(directory.path / "log") == expected);
}

INSTANTIATE_TEST_SUITE_P(EverySink, SinkRules, testing::Values(makeConsole, makeFiles),
                         [](const auto& kind) { return kind.index == 0 ? "Console" : "Files"; });
