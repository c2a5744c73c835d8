// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Filter.h>

namespace Korvel {

Filter::Filter(std::shared_ptr<Sink> target, std::function<bool(const Message&)> predicate)
    : target_(std::move(target)), predicate_(std::move(predicate)) {}

Filter::~Filter() = default;

void Filter::flush() {
    if (target_ != nullptr) target_->flush();
}

void Filter::append(const Message& message) {
    if (predicate_(message) && target_ != nullptr) target_->append(message);
}

}  // namespace Korvel
