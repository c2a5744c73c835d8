#include "Drain.h"

#include "LogglyUploader.h"
#include "StagingDirectory.h"

#include <Korvel/LogglySink.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <random>
#include <thread>

namespace LogglyUpload {
namespace {

using std::chrono::milliseconds;
using std::filesystem::path;

constexpr milliseconds LONGEST_WAIT = std::chrono::minutes(1);

/// Exponential back-off with a limit. Each wait is randomly shortened by up to a half, so machines
/// that lost the service at the same time do not return at the same time.
class Waits {
public:
    explicit Waits(milliseconds first) : next_(first) {}

    milliseconds next() {
        std::uniform_int_distribution<milliseconds::rep> chance(next_.count() / 2, next_.count());
        const milliseconds wait(chance(random_));
        next_ = (std::min)(next_ * 2, LONGEST_WAIT);
        return wait;
    }

private:
    milliseconds next_;
    std::minstd_rand random_{std::random_device()()};
};

std::string filesText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " file" : " files");
}

void tellUnfinished(const path& directory) {
    const auto names = namesEndingIn(directory, ".log.tmp");
    if (names.empty()) return;
    std::cerr << "loggly_upload: An upload that did not end has left " << filesText(names.size())
              << " in " << directory.string() << ":\n";
    for (const path& name : names) std::cerr << "    " << name.string() << '\n';
    std::cerr << "Whether they were delivered is unknown, so they are not touched. Rename a file\n"
                 "to end in .log to send it again, perhaps for a second time, or delete it.\n";
}

/// Runs once. Returns the sum of `total` and the results of this run; the files left are those of
/// this run alone.
UploadReport runOnce(Korvel::LogglySink& sink, LogglyUploader& uploader,
                     const UploadReport& total) {
    sink.uploadTemporaryFiles();
    sink.waitForUpload();
    UploadReport report = uploader.takeReport();
    for (const auto& problem : report.problems) std::cerr << "loggly_upload: " << problem << '\n';
    report.delivered += total.delivered;
    report.rejected += total.rejected;
    // Files that were not offered to the callable count as well.
    report.left = (std::max)(report.left, sink.getLogFiles().size());
    return report;
}

UploadReport runUntilDone(Korvel::LogglySink& sink, LogglyUploader& uploader,
                          const Arguments& arguments) {
    Waits waits(arguments.firstWait);
    UploadReport total = runOnce(sink, uploader, {});
    for (std::uint64_t attempt = 2; attempt <= arguments.attempts; ++attempt) {
        if (total.left == 0 || !total.refusal.empty()) break;
        const milliseconds wait = waits.next();
        std::cerr << "loggly_upload: " << filesText(total.left) << " left; attempt " << attempt
                  << " of " << arguments.attempts << " follows in " << wait.count() << " ms.\n";
        std::this_thread::sleep_for(wait);
        total = runOnce(sink, uploader, total);
    }
    return total;
}

bool tellEnd(const UploadReport& total, const path& directory) {
    std::cout << "Delivered " << filesText(total.delivered) << " from " << directory.string()
              << ".\n";
    if (total.rejected > 0) {
        std::cerr << "loggly_upload: " << filesText(total.rejected) << " rejected, now in "
                  << (directory / "rejected").string() << ".\n";
    }
    if (!total.refusal.empty()) std::cerr << "loggly_upload: " << total.refusal << '\n';
    if (total.left > 0) {
        std::cerr << "loggly_upload: " << filesText(total.left) << " left in " << directory.string()
                  << ".\n";
    }
    return total.rejected == 0 && total.left == 0 && total.refusal.empty();
}

}  // namespace

bool drain(const Arguments& arguments) {
    const path& directory = arguments.directory;
    LogglyUploader uploader(arguments.settings);
    tellUnfinished(directory);
    if (namesEndingIn(directory, ".log").empty()) {
        std::cout << "Nothing is ready in " << directory.string() << ".\n";
        return true;
    }
    auto sink = std::make_shared<Korvel::LogglySink>(directory);
    currentFileOf(*sink, directory);  // Throws if no file can be created in the directory.
    sink->setUploadFile(uploader.callable());
    const UploadReport total = runUntilDone(*sink, uploader, arguments);
    endSink(std::move(sink), directory);
    return tellEnd(total, directory);
}

}  // namespace LogglyUpload
