// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

TEST(Filter, ForwardsTheAcceptedObjectAndEveryFlush) {
    std::vector<const Message*> seen;
    int flushes = 0;
    const auto target = std::make_shared<LambdaSink>(
        [&](const Message& message) { seen.push_back(&message); }, [&] { ++flushes; });
    Filter filter(target, [](const Message& message) { return message.getInteger() > 1; });
    const Message entries[] = {1, 2};
    for (const Message& entry : entries) filter.append(entry);
    filter.flush();
    EXPECT_EQ(seen, std::vector<const Message*>{&entries[1]});
    EXPECT_EQ(flushes, 1);
    EXPECT_THROW(Filter(target, nullptr).append(1), std::bad_function_call);
    Filter noTarget(nullptr, [](const Message&) { return true; });
    noTarget.append(1);
    noTarget.flush();
}
