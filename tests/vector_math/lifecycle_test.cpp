// Loading and unloading the library over and over, with threads that come and go: neither thread-local
// indexes nor records run out or leak (the leak checker of the sanitizer build watches the latter).
#include "support/library.h"

#include <atomic>
#include <cstdint>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

using Get = std::uint32_t (*)();
using Set = std::uint32_t (*)(std::uint32_t);

TEST(Lifecycle, MoreLoadsThanThereAreIndexes) {
    for (int cycle = 0; cycle < 1200; ++cycle) {
        const test::LibraryHandle library = test::load_library();
        ASSERT_NE(library, nullptr) << cycle;
        const Get get = reinterpret_cast<Get>(test::find(library, "_fynGetMode"));
        const Set set = reinterpret_cast<Set>(test::find(library, "_fynSetMode"));
        ASSERT_EQ(get(), 0x1A02u) << "a record of an earlier load is gone";
        set(1);
        if (cycle % 100 == 0) {
            std::vector<std::thread> threads;
            for (int i = 0; i < 8; ++i)
                threads.emplace_back([&] {
                    EXPECT_EQ(get(), 0x1A02u);
                    set(3);
                });
            for (auto &thread : threads)
                thread.join();
        }
        EXPECT_EQ(get(), 0x1A01u);
        ASSERT_TRUE(test::unload_library(library));
    }
}

// A thread that used the library outlives it.
TEST(Lifecycle, UnloadUnderALivingThread) {
    const test::LibraryHandle library = test::load_library();
    const Get get = reinterpret_cast<Get>(test::find(library, "_fynGetMode"));
    std::atomic<int> stage = 0;
    std::thread thread([&] {
        EXPECT_EQ(get(), 0x1A02u);
        stage = 1;
        while (stage != 2)
            std::this_thread::yield();
    });
    while (stage != 1)
        std::this_thread::yield();
    EXPECT_TRUE(test::unload_library(library));
    stage = 2;
    thread.join();
}

} // namespace
