// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Delivery.h"
#include "MakeDirectory.h"

#include <system_error>
#include <utility>

namespace DiskCheck {
namespace {

using std::filesystem::path;

class LocalDelivery : public Delivery {
public:
    explicit LocalDelivery(path directory) : directory_(std::move(directory)) {
        makeDirectory(directory_);
    }

    bool deliver(const path& file) override {
        const path target = directory_ / file.filename().replace_extension();
        std::error_code error;
        // By default copy_file refuses a taken name and reports a failure to close.
        std::filesystem::copy_file(file, target, error);
        if (!error) return true;
        problems_.push_back("Cannot write " + target.string() + ": " + error.message() + ".");
        // A partial file must not look like a complete one.
        std::error_code ignored;
        if (error != std::errc::file_exists) std::filesystem::remove(target, ignored);
        return false;
    }

    std::string destination() const override { return directory_.string(); }

    std::vector<std::string> problems() override { return problems_; }

private:
    const path directory_;
    std::vector<std::string> problems_;
};

}  // namespace

std::unique_ptr<Delivery> makeLocalDelivery(const path& stage) {
    path beside = std::filesystem::absolute(stage).lexically_normal();
    if (!beside.has_filename()) beside = beside.parent_path();  // It had a trailing slash.
    return std::make_unique<LocalDelivery>(beside.replace_filename("delivered"));
}

}  // namespace DiskCheck
