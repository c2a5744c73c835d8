// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/Subject.h"
#include "support/KorvelRequest.h"

#include <Korvel/Korvel.h>

#include <cstdint>
#include <utility>

namespace Bench {
namespace {

constexpr std::uint64_t SIZE_LIMIT = 1U << 20U;

class ListProducer : public Producer {
public:
    explicit ListProducer(std::shared_ptr<Korvel::Logger> logger) : logger_(std::move(logger)) {}

    void log(unsigned number) override { logger_->log("RequestHandled", korvelList(number)); }

private:
    std::shared_ptr<Korvel::Logger> logger_;
};

class KeysProducer : public Producer {
public:
    explicit KeysProducer(std::shared_ptr<Korvel::Logger> logger) : logger_(std::move(logger)) {}

    void log(unsigned number) override {
        Korvel::Message payload = korvelKeys(number);
        logger_->log(L"RequestHandled", std::move(payload));
    }

private:
    std::shared_ptr<Korvel::Logger> logger_;
};

class KorvelSubject : public Subject {
public:
    KorvelSubject(bool list, const Setup& setup)
        : list_(list), handler_(std::make_shared<Korvel::SinkHandler>(false)) {
        handler_->installSink(Korvel::FileSink::create(setup.file, true, false, SIZE_LIMIT));
        if (!setup.held) handler_->startProcessing();
        logger_ = Korvel::createThreadIdExtender(handler_, L"thread");
        logger_ = Korvel::createTimestampExtender(logger_, L"timestamp");
    }

    std::unique_ptr<Producer> makeProducer() override {
        if (list_) return std::make_unique<ListProducer>(logger_);
        return std::make_unique<KeysProducer>(logger_);
    }

    void drain(const std::function<void()>& reached) override {
        handler_->flush();
        reached();
    }

private:
    bool list_;
    std::shared_ptr<Korvel::SinkHandler> handler_;
    std::shared_ptr<Korvel::Logger> logger_;
};

}  // namespace

std::unique_ptr<Subject> makeKorvel(const std::string& name, const Setup& setup) {
    if (name == "korvel-list") return std::make_unique<KorvelSubject>(true, setup);
    if (name == "korvel-keys") return std::make_unique<KorvelSubject>(false, setup);
    return nullptr;
}

}  // namespace Bench
