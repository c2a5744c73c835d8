// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <pthread.h>

static void runOnSmallStack(std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_t thread;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{256} * 1024), 0);
    const auto call = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, call, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(MessageTree, AMillionLevelsNeedNoStack) {
    constexpr int PAIRS = 500000;
    const TemporaryDirectory directory;
    runOnSmallStack([&] {
        const Message tree = deepTree(PAIRS, 7);
        Message copy;
        copy = tree;
        ASSERT_EQ(copy.toJson(false, ""), tree.toJson(false, ""));
        SinkHandler handler;
        handler.installSink(FileSink::create(directory.path / "log", true, false, UINT64_MAX));
        ASSERT_TRUE(handler.log("Deep", {{"tree", copy}}));
    });
    EXPECT_TRUE(readFile(directory.path / "log") ==
                R"({"message":"Deep","tree":)" + deepText(PAIRS, "7") + "}\n");
}
