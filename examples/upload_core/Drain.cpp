// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Drain.h"

#include "StagingDirectory.h"

#include <algorithm>
#include <iostream>
#include <random>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace UploadCore {
namespace {

using std::chrono::milliseconds;
using std::filesystem::path;

constexpr milliseconds LONGEST_WAIT = std::chrono::minutes(1);

/// Each wait is twice as long as the one before, up to a limit, less a random part of up to a half,
/// so that machines that lost the service together do not return together.
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

/// Like the upload run of a LogglySink: while the uploader has the file, its name ends in .log.tmp.
/// If this process dies, the file keeps that name.
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

/// The service has rejected every file, so the fault is not in the files.
bool isServiceDoubted(const UploadReport& report) {
    return !report.hasAccepted && report.doubted > 0 && report.doubted == report.left;
}

class Draining {
public:
    Draining(HttpUploader& uploader, const DrainSettings& settings)
        : uploader_(uploader), settings_(settings) {}

    bool reportInterrupted() const;
    UploadReport runUntilDone() const;
    bool reportEnd(const UploadReport& total) const;

private:
    UploadReport runOnce(const UploadReport& total) const;
    void complain(const std::string& text) const;

    HttpUploader& uploader_;
    const DrainSettings& settings_;
};

void Draining::complain(const std::string& text) const {
    std::cerr << settings_.program << ": " << text << '\n';
}

/// True if there were none.
bool Draining::reportInterrupted() const {
    const auto names = namesEndingIn(settings_.directory, ".log.tmp");
    if (names.empty()) return true;
    complain("An interrupted upload has left " + filesText(names.size()) + " in " +
             settings_.directory.string() + ':');
    for (const path& name : names) std::cerr << "    " << name.string() << '\n';
    std::cerr
        << "The service may have them or not. Rename a file to end in .log to send it, perhaps\n"
           "for a second time, or delete it.\n";
    return false;
}

/// Offers every file once. Adds the delivered and rejected files to those of `total`; the files
/// left and doubted are those of this run alone.
UploadReport Draining::runOnce(const UploadReport& total) const {
    const path& directory = settings_.directory;
    const auto upload = uploader_.callable();
    for (const path& name : namesEndingIn(directory, ".log")) {
        try {
            offer(directory / name, upload);
        } catch (const std::runtime_error& error) {
            complain(error.what());
        }
    }
    UploadReport report = uploader_.takeReport();
    for (const auto& problem : report.problems) complain(problem);
    report.delivered += total.delivered;
    report.rejected += total.rejected;
    // Includes files that have not reached the uploader.
    report.left = namesEndingIn(directory, ".log").size();
    return report;
}

UploadReport Draining::runUntilDone() const {
    Waits waits(settings_.firstWait);
    UploadReport total = runOnce({});
    for (std::uint64_t attempt = 2; attempt <= settings_.attempts; ++attempt) {
        if (total.left == 0 || !total.refusal.empty() || isServiceDoubted(total)) break;
        const milliseconds wait = waits.next();
        complain(filesText(total.left) + " left; attempt " + std::to_string(attempt) + " of " +
                 std::to_string(settings_.attempts) + " follows in " +
                 std::to_string(wait.count()) + " ms.");
        std::this_thread::sleep_for(wait);
        total = runOnce(total);
    }
    return total;
}

/// True if everything is delivered.
bool Draining::reportEnd(const UploadReport& total) const {
    const std::string directory = settings_.directory.string();
    std::cout << "Delivered " << filesText(total.delivered) << " from " << directory << ".\n";
    if (total.rejected > 0) {
        complain(filesText(total.rejected) + " rejected, now in " +
                 (settings_.directory / "rejected").string() + '.');
    }
    if (!total.refusal.empty()) complain(total.refusal);
    if (isServiceDoubted(total)) {
        complain("The service has rejected every file. Check " + settings_.urlOption + '.');
    }
    if (total.left > 0) complain(filesText(total.left) + " left in " + directory + '.');
    return total.rejected == 0 && total.left == 0 && total.refusal.empty();
}

}  // namespace

bool drain(HttpUploader& uploader, const DrainSettings& settings) {
    const Draining draining(uploader, settings);
    const bool isComplete = draining.reportInterrupted();
    if (namesEndingIn(settings.directory, ".log").empty()) {
        std::cout << "Nothing is ready in " << settings.directory.string() << ".\n";
        return isComplete;
    }
    return draining.reportEnd(draining.runUntilDone()) && isComplete;
}

}  // namespace UploadCore
