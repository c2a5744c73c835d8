/// StageEntries DIRECTORY [FILES]: stages 16384 entries of a little over 1 KiB from 4 threads, each
/// with an "id" of its own, in at least so many files.

#include <Korvel/Korvel.h>

#include <thread>

int main(int argc, char** argv) {
    constexpr int THREADS = 4;
    constexpr int ENTRIES = 16384;
    const auto sink = std::make_shared<Korvel::LogglySink>(argv[1]);
    Korvel::SinkHandler handler;
    handler.installSink(sink);
    const int part = ENTRIES / (argc > 2 ? std::stoi(argv[2]) : 1);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&handler, &sink, thread, part] {
            for (int id = thread; id < ENTRIES; id += THREADS) {
                handler.log("Staged", {{"id", id}, {"filler", std::string(1024, 'x')}});
                if (id % part != part - 1) continue;
                handler.flush();
                sink->useNewFile();
            }
        });
    }
    for (auto& thread : threads) thread.join();
}
