// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <dlfcn.h>
#include <gtest/gtest.h>

TEST(Platform, PluginThatLoggedAndForkedIsUnloadedWholeTogetherWithTheLibrary) {
    void* const plugin = dlopen(PLUGIN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(plugin, nullptr) << dlerror();
    void* const library = dlopen(LIBRARY, RTLD_NOLOAD | RTLD_NOW);
    ASSERT_NE(library, nullptr);
    dlclose(library);
    EXPECT_GT(reinterpret_cast<int (*)()>(dlsym(plugin, "logAroundFork"))(), 100);
    EXPECT_EQ(dlclose(plugin), 0);
    EXPECT_EQ(dlopen(LIBRARY, RTLD_NOLOAD | RTLD_NOW), nullptr);
}
