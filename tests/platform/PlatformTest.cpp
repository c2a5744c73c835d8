#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

static std::string loadedFiles() {
    std::ifstream maps("/proc/self/maps");
    return {std::istreambuf_iterator<char>(maps), {}};
}

TEST(Platform, PluginThatLoggedAndForkedIsUnloadedWhole) {
    for (const char* name : {"logSome", "logAroundFork"}) {
        void* const plugin = dlopen(PLUGIN, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(plugin, nullptr) << dlerror();
        EXPECT_NE(loadedFiles().find("libkorvel"), std::string::npos);
        EXPECT_GT(reinterpret_cast<int (*)()>(dlsym(plugin, name))(), 100);
        EXPECT_EQ(dlclose(plugin), 0);
        EXPECT_EQ(loadedFiles().find("libkorvel"), std::string::npos);
    }
}
