// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Staging.h"

#include "MakeDirectory.h"

#include "upload_core/StagingDirectory.h"

#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>

namespace DiskCheck {

Staging::Staging(std::filesystem::path directory, std::unique_ptr<Delivery> delivery)
    : directory_(std::move(directory)), delivery_(std::move(delivery)) {
    makeDirectory(directory_);
    sink_ = std::make_shared<Korvel::LogglySink>(directory_);
    UploadCore::currentFileOf(*sink_,
                              directory_);  // Throws if no file can be created in the directory.
}

const std::shared_ptr<Korvel::LogglySink>& Staging::sink() const {
    return sink_;
}

void Staging::deliver() {
    sink_->setUploadFile([this](const std::filesystem::path& file) {
        const bool isDelivered = delivery_->deliver(file);
        ++(isDelivered ? delivered_ : left_);
        return isDelivered;
    });
    sink_->useNewFile();
    sink_->uploadTemporaryFiles();
    sink_->waitForUpload();
    const std::size_t closed = sink_->getLogFiles().size();
    UploadCore::endSink(std::move(sink_), directory_);
    std::cout << "Delivered " << delivered_ << (delivered_ == 1 ? " file to " : " files to ")
              << delivery_->destination() << '\n';
    // Rejected files no longer count as closed files, and others may not have been offered at all.
    left_ = (std::max)(left_, closed);
    if (left_ > 0) throw std::runtime_error(leftText());
}

std::string Staging::leftText() const {
    std::string text = std::to_string(left_) + " staging files have not been delivered.";
    for (const std::string& problem : delivery_->problems()) text += "\n    " + problem;
    return text;
}

}  // namespace DiskCheck
