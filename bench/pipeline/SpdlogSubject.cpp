// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/Subject.h"
#include "support/NlohmannRequest.h"

#include <fmt/compile.h>
#include <spdlog/async.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/basic_file_sink.h>

#include <chrono>
#include <ctime>
#include <future>
#include <mutex>
#include <string_view>
#include <utility>

namespace Bench {
namespace {

using TimeText = fmt::basic_memory_buffer<char, 32>;

/// The time in the form used by Korvel's extender.
TimeText timestamp() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000;
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    TimeText text;
    fmt::format_to(std::back_inserter(text),
                   FMT_COMPILE("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z"), parts.tm_year + 1900,
                   parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                   milliseconds);
    return text;
}

std::string_view view(const TimeText& text) {
    return {text.data(), text.size()};
}

using JsonMaker = nlohmann::json (*)(unsigned);

/// The caller builds a JSON tree and logs its text.
class JsonProducer : public Producer {
public:
    JsonProducer(std::shared_ptr<spdlog::logger> logger, JsonMaker make)
        : logger_(std::move(logger)), make_(make) {}

    void log(unsigned number) override {
        nlohmann::json entry = make_(number);
        entry["timestamp"] = view(timestamp());
        entry["thread"] = fmt::to_string(spdlog::details::os::thread_id());
        entry["message"] = "RequestHandled";
        const std::string text = entry.dump();
        logger_->info(spdlog::string_view_t(text));
    }

private:
    std::shared_ptr<spdlog::logger> logger_;
    JsonMaker make_;
};

/// The caller formats the same line by hand, without a tree or escaping.
class FmtProducer : public Producer {
public:
    explicit FmtProducer(std::shared_ptr<spdlog::logger> logger) : logger_(std::move(logger)) {}

    void log(unsigned number) override {
        logger_->info(R"({{"bytes":{},"durationMs":{},"message":"{}","method":"{}","ok":{},)"
                      R"("path":"/api/v1/orders/{}","status":{},"tags":["{}","{}"],"thread":"{}",)"
                      R"("timestamp":"{}","user":"{}"}})",
                      BYTES, durationOf(number), "RequestHandled", "GET", true, number, STATUS,
                      "api", "orders", spdlog::details::os::thread_id(), view(timestamp()),
                      "Zoë Müller");
    }

private:
    std::shared_ptr<spdlog::logger> logger_;
};

/// Blocks the worker at its first entry until released.
class HeldSink : public spdlog::sinks::base_sink<std::mutex> {
public:
    void release() { released_.set_value(); }

private:
    void sink_it_(const spdlog::details::log_msg& /*message*/) override { gate_.wait(); }
    void flush_() override {}

    std::promise<void> released_;
    std::shared_future<void> gate_ = released_.get_future().share();
};

enum class Style { List, Keys, Fmt };

/// The queue has room for all entries, so no producer ever waits for the worker.
class SpdlogSubject : public Subject {
public:
    SpdlogSubject(Style style, const Setup& setup) : style_(style) {
        pool_ = std::make_shared<spdlog::details::thread_pool>(
            setup.entries + 1, 1, [] {}, [this] { reached_(); });
        logger_ = std::make_shared<spdlog::async_logger>("bench", makeSink(setup), pool_);
        logger_->set_pattern("%v");
        logger_->flush_on(spdlog::level::trace);
    }

    ~SpdlogSubject() override {
        if (held_ != nullptr) held_->release();
        pool_.reset();
    }

    std::unique_ptr<Producer> makeProducer() override {
        if (style_ == Style::Fmt) return std::make_unique<FmtProducer>(logger_);
        return std::make_unique<JsonProducer>(logger_,
                                              style_ == Style::List ? nlohmannList : nlohmannKeys);
    }

    /// spdlog drains its queue when the pool is destroyed. The worker reports the end, so freeing
    /// the queue is not counted.
    void drain(const std::function<void()>& reached) override {
        reached_ = reached;
        pool_.reset();
    }

private:
    spdlog::sink_ptr makeSink(const Setup& setup) {
        if (!setup.held) {
            return std::make_shared<spdlog::sinks::basic_file_sink_mt>(setup.file.string(), true);
        }
        held_ = std::make_shared<HeldSink>();
        return held_;
    }

    Style style_;
    std::function<void()> reached_ = [] {};
    std::shared_ptr<HeldSink> held_;
    std::shared_ptr<spdlog::details::thread_pool> pool_;
    std::shared_ptr<spdlog::async_logger> logger_;
};

}  // namespace

std::unique_ptr<Subject> makeSpdlog(const std::string& name, const Setup& setup) {
    if (name == "spdlog-nlohmann-list") return std::make_unique<SpdlogSubject>(Style::List, setup);
    if (name == "spdlog-nlohmann-keys") return std::make_unique<SpdlogSubject>(Style::Keys, setup);
    if (name == "spdlog-fmt") return std::make_unique<SpdlogSubject>(Style::Fmt, setup);
    return nullptr;
}

}  // namespace Bench
