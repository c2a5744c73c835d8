// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/Subject.h"
#include "support/Request.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/log/attributes/clock.hpp>
#include <boost/log/attributes/current_thread_id.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/expressions/keyword.hpp>
#include <boost/log/sinks/async_frontend.hpp>
#include <boost/log/sinks/text_ostream_backend.hpp>
#include <boost/log/sources/logger.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/log/utility/manipulators/add_value.hpp>
#include <boost/make_shared.hpp>

#include <array>
#include <fstream>
#include <ostream>
#include <string>

namespace Bench {
namespace {

namespace attributes = boost::log::attributes;
namespace expressions = boost::log::expressions;
namespace sinks = boost::log::sinks;

/// The value of the attribute "tags". Boost.Log formats values with operator<<.
struct Tags {
    std::array<std::string, 2> texts;
};

std::ostream& operator<<(std::ostream& stream, const Tags& tags) {
    return stream << "[\"" << tags.texts[0] << "\",\"" << tags.texts[1] << "\"]";
}

BOOST_LOG_ATTRIBUTE_KEYWORD(bytesKey, "bytes", unsigned)
BOOST_LOG_ATTRIBUTE_KEYWORD(durationKey, "durationMs", double)
BOOST_LOG_ATTRIBUTE_KEYWORD(methodKey, "method", std::string)
BOOST_LOG_ATTRIBUTE_KEYWORD(okKey, "ok", bool)
BOOST_LOG_ATTRIBUTE_KEYWORD(pathKey, "path", std::string)
BOOST_LOG_ATTRIBUTE_KEYWORD(statusKey, "status", unsigned)
BOOST_LOG_ATTRIBUTE_KEYWORD(tagsKey, "tags", Tags)
BOOST_LOG_ATTRIBUTE_KEYWORD(threadKey, "thread", attributes::current_thread_id::value_type)
BOOST_LOG_ATTRIBUTE_KEYWORD(timestampKey, "timestamp", boost::posix_time::ptime)
BOOST_LOG_ATTRIBUTE_KEYWORD(userKey, "user", std::string)

class BoostProducer : public Producer {
public:
    void log(unsigned number) override {
        using boost::log::add_value;
        BOOST_LOG(logger_) << add_value(methodKey, "GET")
                           << add_value(pathKey, "/api/v1/orders/" + std::to_string(number))
                           << add_value(statusKey, STATUS)
                           << add_value(durationKey, durationOf(number))
                           << add_value(bytesKey, BYTES) << add_value(userKey, "Zoë Müller")
                           << add_value(okKey, true) << add_value(tagsKey, Tags{{"api", "orders"}})
                           << "RequestHandled";
    }

private:
    boost::log::sources::logger logger_;
};

/// Formats a line with the same content; the texts are not escaped.
boost::log::formatter makeFormatter() {
    const auto ok = expressions::if_(okKey == true)[expressions::stream << "true"]
                        .else_[expressions::stream << "false"];
    const auto time = expressions::format_date_time(timestampKey, "%Y-%m-%dT%H:%M:%S.%fZ");
    return expressions::stream << R"({"bytes":)" << bytesKey << R"(,"durationMs":)" << durationKey
                               << R"(,"message":")" << expressions::smessage << R"(","method":")"
                               << methodKey << R"(","ok":)" << ok << R"(,"path":")" << pathKey
                               << R"(","status":)" << statusKey << R"(,"tags":)" << tagsKey
                               << R"(,"thread":")" << threadKey << R"(","timestamp":")" << time
                               << R"(","user":")" << userKey << R"("})";
}

class BoostSubject : public Subject {
public:
    explicit BoostSubject(const Setup& setup) {
        auto backend = boost::make_shared<sinks::text_ostream_backend>();
        backend->add_stream(boost::make_shared<std::ofstream>(setup.file));
        backend->auto_flush(true);
        sink_ = boost::make_shared<Sink>(backend, boost::log::keywords::start_thread = !setup.held);
        sink_->set_formatter(makeFormatter());
        const auto core = boost::log::core::get();
        core->add_global_attribute(decltype(timestampKey)::get_name(), attributes::utc_clock());
        core->add_global_attribute(decltype(threadKey)::get_name(),
                                   attributes::current_thread_id());
        core->add_sink(sink_);
    }

    ~BoostSubject() override {
        boost::log::core::get()->remove_sink(sink_);
        sink_->stop();
    }

    std::unique_ptr<Producer> makeProducer() override { return std::make_unique<BoostProducer>(); }

    void drain(const std::function<void()>& reached) override {
        sink_->flush();
        reached();
    }

private:
    /// The queue of this frontend is unbounded by default.
    using Sink = sinks::asynchronous_sink<sinks::text_ostream_backend>;

    boost::shared_ptr<Sink> sink_;
};

}  // namespace

std::unique_ptr<Subject> makeBoost(const std::string& name, const Setup& setup) {
    if (name == "boost-log") return std::make_unique<BoostSubject>(setup);
    return nullptr;
}

}  // namespace Bench
