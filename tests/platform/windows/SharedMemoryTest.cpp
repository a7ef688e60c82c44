#include "platform/SharedMemory.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <tuple>

namespace tarn::platform {
namespace {

constexpr std::size_t Bytes = 135168;
constexpr char Name[] = "test of a strange mapping";

// Fault: a host that ends at its first access to pages that some program has only reserved.
TEST(WindowsSharedMemory, PagesWithoutMemoryAreRefused) {
    const std::tuple<std::size_t, std::size_t, bool> commits[] = {
        {0, 0, false}, {0, Bytes - 4096, false}, {4096, Bytes - 4096, false}, {0, Bytes, true}};
    for (const auto& [begin, bytes, isEnough] : commits) {
        // Twice the bytes, since Wine forgets a commit of the last page.
        HANDLE mapping = ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr,
                                              PAGE_READWRITE | SEC_RESERVE, 0, 2 * Bytes, Name);
        auto* view = static_cast<char*>(::MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0));
        ASSERT_TRUE(view != nullptr && (bytes == 0 || ::VirtualAlloc(view + begin, bytes,
                                                                     MEM_COMMIT, PAGE_READWRITE)));
        const bool isTaken[] = {
            static_cast<bool>(SharedMemory::open(Name, Bytes)),
            static_cast<bool>(SharedMemory::open(Name, Bytes, SharedMemory::Access::ReadOnly)),
            static_cast<bool>(SharedMemory::create(Name, Bytes))};
        for (const bool taken : isTaken)
            EXPECT_EQ(taken, isEnough) << begin << ", " << bytes;
        ::UnmapViewOfFile(view);
        ::CloseHandle(mapping);
    }
    EXPECT_FALSE(SharedMemory::open(Name, 1));
}

// Fault: a block that vanishes with the library that has probed it.
TEST(WindowsSharedMemory, WhatIsKeptOutlivesItsHolder) {
    SharedMemory::create(Name, Bytes).keepToTheEnd();
    EXPECT_TRUE(SharedMemory::open(Name, Bytes));
}

}  // namespace
}  // namespace tarn::platform
