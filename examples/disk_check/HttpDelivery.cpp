// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Delivery.h"

#include "command_line/CommandLine.h"
#include "loggly_upload/LogglyUploader.h"

#include <cstdlib>

namespace DiskCheck {
namespace {

using CommandLine::UsageError;
using LogglyUpload::LogglyUploader;
using LogglyUpload::UploadSettings;

UploadSettings settingsFor(const std::string& url) {
    UploadSettings settings;
    settings.url = url;
    settings.tags = {"disk_check"};
    const char* const token = std::getenv("LOGGLY_TOKEN");
    if (token == nullptr) throw UsageError("The option --upload needs the variable LOGGLY_TOKEN.");
    settings.token = token;
    return settings;
}

class HttpDelivery : public Delivery {
public:
    explicit HttpDelivery(const UploadSettings& settings)
        : destination_(settings.url), uploader_(settings), upload_(uploader_.callable()) {}

    bool deliver(const std::filesystem::path& file) override { return upload_(file); }

    std::string destination() const override { return destination_; }

    std::vector<std::string> problems() override {
        LogglyUpload::UploadReport report = uploader_.takeReport();
        if (!report.refusal.empty()) report.problems.push_back(report.refusal);
        return report.problems;
    }

private:
    const std::string destination_;
    LogglyUploader uploader_;
    const std::function<bool(const std::filesystem::path&)> upload_;
};

}  // namespace

std::unique_ptr<Delivery> makeHttpDelivery(const std::string& url) {
    return std::make_unique<HttpDelivery>(settingsFor(url));
}

}  // namespace DiskCheck
