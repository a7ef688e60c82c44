#include "platform/SharedMemory.h"

#include <gtest/gtest.h>

#include <thread>

namespace tarn::platform {
namespace {

constexpr std::size_t Bytes = 131784;  // no whole pages
constexpr char Name[] = "test of shared memory";

volatile char* bytesOf(const SharedMemory& memory) {
    return static_cast<volatile char*>(memory.data());
}

// Fault: two makers meet, and one holds a block whose name the other has just taken away.
TEST(SharedMemory, WhatIsHeldIsFoundWhateverOthersMakeAndLeave) {
    const auto makeAndLeave = [] {
        for (int i = 0; i < 500; ++i) {
            const auto held = SharedMemory::create(Name, Bytes);
            ASSERT_TRUE(!held || SharedMemory::open(Name, Bytes)) << i;
        }
    };
    std::thread other(makeAndLeave);
    makeAndLeave();
    other.join();
}

// Fault: a program that only looks changes what it looks at.
TEST(SharedMemoryDeathTest, AReadOnlyViewFollowsTheBlockAndCannotWriteIt) {
    const auto writer = SharedMemory::create(Name, Bytes);
    const auto reader = SharedMemory::open(Name, Bytes, SharedMemory::Access::ReadOnly);
    ASSERT_TRUE(reader);
    bytesOf(writer)[Bytes - 1] = 5;
    EXPECT_EQ(bytesOf(reader)[Bytes - 1], 5);
    EXPECT_DEATH(bytesOf(reader)[0] = 6, "");
}

}  // namespace
}  // namespace tarn::platform
