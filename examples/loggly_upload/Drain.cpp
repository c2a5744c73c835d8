#include "Drain.h"

#include "LogglyUploader.h"
#include "StagingDirectory.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iostream>
#include <random>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace LogglyUpload {
namespace {

using std::chrono::milliseconds;
using std::filesystem::path;

constexpr milliseconds LONGEST_WAIT = std::chrono::minutes(1);

/// Each wait is twice as long as the one before, up to a limit. Chance takes off up to a half, so
/// that machines which lost the service at one time do not come back at one time.
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

/// True if there were none.
bool reportInterrupted(const path& directory) {
    const auto names = namesEndingIn(directory, ".log.tmp");
    if (names.empty()) return true;
    std::cerr << "loggly_upload: An interrupted upload has left " << filesText(names.size())
              << " in " << directory.string() << ":\n";
    for (const path& name : names) std::cerr << "    " << name.string() << '\n';
    std::cerr
        << "The service may have them or not. Rename a file to end in .log to send it, perhaps\n"
           "for a second time, or delete it.\n";
    return false;
}

/// Like the upload run of a LogglySink: while the uploader has the file, its name ends in .log.tmp,
/// and that is what remains if this process dies.
void offer(const path& file, const std::function<bool(const path&)>& upload) {
    const path taken = path(file) += ".tmp";
    if (std::filesystem::exists(std::filesystem::symlink_status(taken))) {
        throw std::runtime_error(file.filename().string() +
                                 " is left: " + taken.filename().string() + " is in its way.");
    }
    std::filesystem::rename(file, taken);
    std::error_code error;
    const bool isDelivered = upload(taken);
    if (isDelivered) std::filesystem::remove(taken, error);
    if (isDelivered && !error) return;
    // Fails if the uploader has moved the file aside.
    std::filesystem::rename(taken, file, error);
}

/// Offers every file once. The sum of `total` and what became of them; the files left and doubted
/// are those of this run alone.
UploadReport runOnce(LogglyUploader& uploader, const path& directory, const UploadReport& total) {
    const auto upload = uploader.callable();
    for (const path& name : namesEndingIn(directory, ".log")) {
        try {
            offer(directory / name, upload);
        } catch (const std::runtime_error& error) {
            std::cerr << "loggly_upload: " << error.what() << '\n';
        }
    }
    UploadReport report = uploader.takeReport();
    for (const auto& problem : report.problems) std::cerr << "loggly_upload: " << problem << '\n';
    report.delivered += total.delivered;
    report.rejected += total.rejected;
    // Some may not have reached the uploader.
    report.left = namesEndingIn(directory, ".log").size();
    return report;
}

/// The service has rejected every file, so the fault is not in the files.
bool isServiceDoubted(const UploadReport& report) {
    return !report.hasAccepted && report.doubted > 0 && report.doubted == report.left;
}

UploadReport runUntilDone(LogglyUploader& uploader, const Arguments& arguments) {
    Waits waits(arguments.firstWait);
    UploadReport total = runOnce(uploader, arguments.directory, {});
    for (std::uint64_t attempt = 2; attempt <= arguments.attempts; ++attempt) {
        if (total.left == 0 || !total.refusal.empty() || isServiceDoubted(total)) break;
        const milliseconds wait = waits.next();
        std::cerr << "loggly_upload: " << filesText(total.left) << " left; attempt " << attempt
                  << " of " << arguments.attempts << " follows in " << wait.count() << " ms.\n";
        std::this_thread::sleep_for(wait);
        total = runOnce(uploader, arguments.directory, total);
    }
    return total;
}

/// True if everything is delivered.
bool reportEnd(const UploadReport& total, const path& directory) {
    std::cout << "Delivered " << filesText(total.delivered) << " from " << directory.string()
              << ".\n";
    if (total.rejected > 0) {
        std::cerr << "loggly_upload: " << filesText(total.rejected) << " rejected, now in "
                  << (directory / "rejected").string() << ".\n";
    }
    if (!total.refusal.empty()) std::cerr << "loggly_upload: " << total.refusal << '\n';
    if (isServiceDoubted(total)) {
        std::cerr << "loggly_upload: The service has rejected every file. Check --url.\n";
    }
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
    const bool isComplete = reportInterrupted(directory);
    if (namesEndingIn(directory, ".log").empty()) {
        std::cout << "Nothing is ready in " << directory.string() << ".\n";
        return isComplete;
    }
    const UploadReport total = runUntilDone(uploader, arguments);
    return reportEnd(total, directory) && isComplete;
}

}  // namespace LogglyUpload
