// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

// job_server [DIRECTORY]: runs 500 jobs on four threads. Each summarises the orders of a customer.
// The console shows what needs attention; DIRECTORY/jobs.jsonl, rotated at 100 kB, has everything.

#include <Korvel/Extras.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <iostream>
#include <mutex>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace Korvel::Extras;
using std::chrono::steady_clock;

namespace {

struct Job {
    int number = 0;
    std::string customer;
    std::vector<int> amounts;
};

/// An empty job means that no more follow.
class JobQueue {
public:
    void push(std::optional<Job> job) {
        const std::lock_guard<std::mutex> guard(mutex_);
        jobs_.push_back(std::move(job));
        signal_.notify_all();
    }

    std::optional<Job> take() {
        std::unique_lock<std::mutex> guard(mutex_);
        signal_.wait(guard, [this] { return !jobs_.empty(); });
        std::optional<Job> job = jobs_.front();
        if (job) jobs_.pop_front();
        return job;
    }

private:
    std::mutex mutex_;
    std::condition_variable signal_;
    std::deque<std::optional<Job>> jobs_;
};

int median(std::vector<int> amounts) {
    if (amounts.empty()) throw std::invalid_argument("there are no orders");
    const auto middle = amounts.begin() + static_cast<std::ptrdiff_t>(amounts.size() / 2);
    std::nth_element(amounts.begin(), middle, amounts.end());
    return *middle;
}

/// Runs jobs until there are no more. Every entry of a job has its number and customer.
void serve(JobQueue& jobs, std::atomic<int>& failures, const SeverityLogger& log) {
    while (const std::optional<Job> job = jobs.take()) {
        const Context context({{"job", job->number}, {"customer", job->customer}});
        const auto start = steady_clock::now();
        log.debug("JobStarted", [&] { return toMessage(job->amounts); });
        try {
            const int sum = std::accumulate(job->amounts.begin(), job->amounts.end(), 0);
            if (sum > 500) log.warning("LimitExceeded", {{"sum", sum}, {"limit", 500}});
            log.info("JobDone", {{"sum", sum},
                                 {"median", median(job->amounts)},
                                 {"elapsed_ms", ms(steady_clock::now() - start)}});
        } catch (const std::exception& error) {
            ++failures;
            log.error("JobFailed", {{"error", toMessage(error)}});
        }
    }
}

}  // namespace

int main(int count, char** arguments) try {
    const std::filesystem::path directory = count > 1 ? arguments[1] : ".";
    LoggingOptions options;
    options.severity = Severity::Debug;
    options.exit.atSignals = true;
    ReopeningFileSinkOptions file;
    file.maxBytes = 100'000;
    const auto logging = LoggingBuilder(options)
                             .console({}, severityAtLeast(Severity::Warning))
                             .file(directory / "jobs.jsonl", file)
                             .start();
    JobQueue jobs;
    std::atomic<int> failures = 0;
    std::vector<std::thread> servers(4);
    for (std::thread& server : servers) {
        server = std::thread([&] { serve(jobs, failures, logging.logger()); });
    }
    for (int number = 0; number < 500; ++number) {
        std::vector<int> amounts(static_cast<std::size_t>(number % 50));
        std::iota(amounts.begin(), amounts.end(), 1);
        jobs.push(Job{number, number % 2 == 0 ? "Zoë & Söhne" : "Wong\n\x1B[31mLtd", amounts});
    }
    jobs.push(std::nullopt);
    for (std::thread& server : servers) server.join();
    logging.logger().info("ServerStopped", {{"failures", failures.load()}});
} catch (const std::exception& error) {
    std::cerr << "job_server: " << error.what() << '\n';
    return 1;
}
