// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/SinkHandler.h>

#include "pipeline/EntryQueue.h"
#include "pipeline/SinkList.h"
#include "pipeline/Worker.h"

#include <atomic>
#include <stdexcept>
#include <utility>

namespace Korvel {

/// The parts of a handler. The queue is destroyed before the sinks, so undelivered entries are
/// freed first.
class Pipeline {
public:
    SinkList sinks;
    EntryQueue queue;
    Worker worker{queue, sinks};
    /// Whether log accepts entries. Written by the owner, read by any thread.
    std::atomic<bool> isAccepting = true;
};

SinkHandler::SinkHandler() : SinkHandler(true) {}

SinkHandler::SinkHandler(bool startThread) : pipeline_(std::make_unique<Pipeline>()) {
    if (startThread) startProcessing();
}

SinkHandler::~SinkHandler() {
    stopProcessing();
}

bool SinkHandler::log(const std::wstring& type, Message message) {
    if (!pipeline_->isAccepting) return false;
    if (pipeline_->worker.isCurrentThread()) {
        throw std::logic_error("Calling log() from inside the logger thread is forbidden");
    }
    wrapPayload(message);
    message[L"message"] = Message(type);
    pipeline_->queue.push(std::move(message));
    return true;
}

void SinkHandler::flush() {
    if (!pipeline_->queue.hasWorker()) return;
    if (pipeline_->worker.isCurrentThread()) {
        throw std::logic_error("Calling flush() from inside the logger thread is forbidden");
    }
    pipeline_->queue.flush();
}

bool SinkHandler::installSink(std::shared_ptr<Sink> sink) {
    return sink != nullptr && pipeline_->sinks.install(std::move(sink));
}

bool SinkHandler::removeSink(const std::shared_ptr<Sink>& sink) {
    if (sink == nullptr) return false;
    flush();
    return pipeline_->sinks.remove(sink);
}

void SinkHandler::startProcessing() {
    if (pipeline_->queue.hasWorker()) return;
    pipeline_->worker.join();
    pipeline_->isAccepting = true;
    if (!pipeline_->worker.start()) pipeline_->isAccepting = false;
}

void SinkHandler::stopProcessing() {
    pipeline_->isAccepting = false;
    flush();
    pipeline_->queue.dismissWorker();
    pipeline_->worker.join();
    pipeline_->queue.discardRecycled();
}

}  // namespace Korvel
