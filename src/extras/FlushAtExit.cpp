// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras/FlushAtExit.h>

#include "extras/platform/Signals.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace Korvel::Extras {
namespace {

using Cause = bool FlushAtExitOptions::*;

/// Whether this thread flushes or waits for a flush. If it terminates then, it does not wait again.
thread_local bool isBusy = false;

/// Far enough, and can be added to the time without an overflow.
constexpr std::chrono::milliseconds MAX_LIMIT = std::chrono::hours(24 * 365);

}  // namespace

/// The thread of an object. A process made by fork has the object, but not the thread.
class ExitFlush {
public:
    ExitFlush(const FlushAtExitOptions& options, std::shared_ptr<Logger> logger)
        : options_(options), logger_(std::move(logger)) {
        if (logger_ == nullptr) throw std::invalid_argument("FlushAtExit needs a logger");
        thread_ = startThreadWithoutSignals([this] { run(); });
    }

    ~ExitFlush() {
        {
            const std::lock_guard<std::mutex> guard(mutex_);
            isEnding_ = true;
        }
        signal_.notify_all();
        thread_.join();
    }

    bool isHere() const noexcept { return process_ == processId(); }

    bool waitsFor(Cause cause) const noexcept { return options_.*cause; }

    void request() {
        deadline_ = std::chrono::steady_clock::now() + (std::min)(options_.limit, MAX_LIMIT);
        {
            const std::lock_guard<std::mutex> guard(mutex_);
            ++requests_;
        }
        signal_.notify_all();
    }

    /// Waits until the flush that was requested last has ended, or its limit has passed. Returns
    /// whether it has ended.
    bool wait() {
        std::unique_lock<std::mutex> guard(mutex_);
        return signal_.wait_until(guard, deadline_, [this] { return completed_ == requests_; });
    }

private:
    void run() {
        isBusy = true;
        std::unique_lock<std::mutex> guard(mutex_);
        for (;;) {
            signal_.wait(guard, [this] { return isEnding_ || completed_ != requests_; });
            if (isEnding_) return;
            const int request = requests_;
            guard.unlock();
            try {
                logger_->flush();
            } catch (...) {
                // The process ends, and nobody is left to be told.
            }
            guard.lock();
            completed_ = request;
            signal_.notify_all();
        }
    }

    // Constant after construction.

    const FlushAtExitOptions options_;
    const std::shared_ptr<Logger> logger_;
    const long process_ = processId();

    // Guarded by the lock of the list, while this object is in it.

    std::chrono::steady_clock::time_point deadline_;

    // Guarded by mutex_.

    std::mutex mutex_;
    std::condition_variable signal_;
    int requests_ = 0;
    int completed_ = 0;
    bool isEnding_ = false;

    // Last: run uses the other members.
    std::thread thread_;
};

namespace {

/// The objects of the process and what they have installed.
class Registry {
public:
    /// Never destroyed: static objects can have a FlushAtExit.
    static Registry& get() {
        static Registry& registry = *new Registry;
        return registry;
    }

    void add(ExitFlush& flush) {
        const std::lock_guard<std::mutex> owner(ownerLock_);
        {
            const std::lock_guard<std::mutex> guard(listLock_);
            if (process_ != processId()) flushes_.clear();  // Those of the parent process.
            process_ = processId();
            flushes_.reserve(flushes_.size() + 1);
        }
        if (flush.waitsFor(&FlushAtExitOptions::atSignals)) {
            watchSignals([] { get().flushAll(&FlushAtExitOptions::atSignals); });
        }
        if (flush.waitsFor(&FlushAtExitOptions::atTerminate) &&
            std::get_terminate() != &onTerminate) {
            previousHandler_ = std::set_terminate(&onTerminate);
        }
        const std::lock_guard<std::mutex> guard(listLock_);
        flushes_.push_back(&flush);
    }

    void remove(ExitFlush& flush) {
        const std::lock_guard<std::mutex> owner(ownerLock_);
        {
            const std::lock_guard<std::mutex> guard(listLock_);
            flushes_.erase(std::find(flushes_.begin(), flushes_.end(), &flush));
        }
        // Without the lock of the list, which a flush that has begun takes.
        if (!isNeeded(&FlushAtExitOptions::atSignals)) unwatchSignals();
        if (!isNeeded(&FlushAtExitOptions::atTerminate) && std::get_terminate() == &onTerminate) {
            std::set_terminate(previousHandler_);
        }
    }

    /// Allocates nothing: memory may be what the process has run out of.
    void flushAll(Cause cause) noexcept {
        // After fork a thread that does not exist may hold the lock.
        if (process_ != processId()) return;
        const std::lock_guard<std::mutex> guard(listLock_);
        for (ExitFlush* const flush : flushes_) {
            if (flush->waitsFor(cause)) flush->request();
        }
        for (ExitFlush* const flush : flushes_) {
            if (flush->waitsFor(cause)) flush->wait();
        }
    }

private:
    [[noreturn]] static void onTerminate() {
        if (!isBusy) {
            isBusy = true;
            get().flushAll(&FlushAtExitOptions::atTerminate);
        }
        get().previousHandler_.load()();
        std::abort();
    }

    bool isNeeded(Cause cause) const {
        return std::any_of(flushes_.begin(), flushes_.end(),
                           [cause](const ExitFlush* flush) { return flush->waitsFor(cause); });
    }

    /// Taken first, by constructors and destructors only.
    std::mutex ownerLock_;
    /// Guards the list, which changes only under both locks.
    std::mutex listLock_;
    std::vector<ExitFlush*> flushes_;
    /// The process of the listed objects.
    std::atomic<long> process_{0};
    std::atomic<std::terminate_handler> previousHandler_{nullptr};
};

}  // namespace

FlushAtExit::FlushAtExit(const FlushAtExitOptions& options, std::shared_ptr<Logger> logger)
    : flush_(std::make_unique<ExitFlush>(options, std::move(logger))) {
    Registry::get().add(*flush_);
}

FlushAtExit::~FlushAtExit() {
    if (flush_->isHere()) {
        Registry::get().remove(*flush_);
        if (flush_->wait()) return;
    }
    // The thread that it would join is in the parent process, or stuck.
    static_cast<void>(flush_.release());
}

void FlushAtExit::flushForExit() {
    Registry::get().flushAll(&FlushAtExitOptions::atExit);
}

}  // namespace Korvel::Extras
