#include "support/Test.h"

TEST(Filter, ForwardsTheAcceptedObjectAndEveryFlush) {
    std::vector<const Message*> seen;
    int flushes = 0;
    const auto target = std::make_shared<LambdaSink>(
        [&](const Message& message) { seen.push_back(&message); }, [&] { ++flushes; });
    std::vector<std::int64_t> askedInner;
    const auto inner = std::make_shared<Filter>(target, [&](const Message& message) {
        askedInner.push_back(message.getInteger());
        return message.getInteger() > 2;
    });
    Filter outer(inner, [](const Message& message) { return message.getInteger() != 4; });
    const Message entries[] = {1, 2, 3, 4};
    for (const Message& entry : entries) outer.append(entry);
    outer.flush();
    EXPECT_EQ(askedInner, (std::vector<std::int64_t>{1, 2, 3}));
    EXPECT_EQ(seen, std::vector<const Message*>{&entries[2]});
    EXPECT_EQ(flushes, 1);
}

TEST(Filter, EmptyPartsFailOrDoNothing) {
    const auto target = std::make_shared<RecordingSink>();
    Filter noPredicate(target, nullptr);
    EXPECT_THROW(noPredicate.append(1), std::bad_function_call);
    noPredicate.flush();
    EXPECT_EQ(target->flushes, 1);
    Filter noTarget(nullptr, [](const Message&) { return true; });
    noTarget.append(1);
    noTarget.flush();
    EXPECT_EQ(target->entries.size(), 0U);
}
