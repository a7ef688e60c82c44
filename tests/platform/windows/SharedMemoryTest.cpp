#include "platform/SharedMemory.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace tarn::platform {
namespace {

constexpr std::size_t Bytes = 135168;
constexpr std::size_t MappingBytes = 2 * Bytes;  // Wine forgets a commit of the last page
constexpr char Name[] = "test of a strange mapping";

// A mapping that some program has made, with memory for a part of its pages.
class ReservedMapping {
public:
    ReservedMapping(std::size_t committedBegin, std::size_t committedBytes)
        : handle_(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_RESERVE,
                                       0, MappingBytes, Name)),
          view_(static_cast<char*>(::MapViewOfFile(handle_, FILE_MAP_WRITE, 0, 0, 0))) {
        EXPECT_NE(view_, nullptr);
        EXPECT_TRUE(committedBytes == 0 || ::VirtualAlloc(view_ + committedBegin, committedBytes,
                                                          MEM_COMMIT, PAGE_READWRITE) != nullptr);
    }
    ReservedMapping(const ReservedMapping&) = delete;
    ReservedMapping& operator=(const ReservedMapping&) = delete;
    ~ReservedMapping() {
        ::UnmapViewOfFile(view_);
        ::CloseHandle(handle_);
    }

private:
    HANDLE handle_;
    char* view_;
};

// Fault: a host that ends at its first access to pages that some program has only reserved.
TEST(WindowsSharedMemory, PagesWithoutMemoryAreRefused) {
    const struct {
        std::size_t begin, bytes;
        bool isEnough;
    } commits[] = {
        {0, 0, false}, {0, Bytes - 4096, false}, {4096, Bytes - 4096, false}, {0, Bytes, true}};
    for (const auto& [begin, bytes, isEnough] : commits) {
        const ReservedMapping mapping(begin, bytes);
        const bool isTaken[] = {
            static_cast<bool>(SharedMemory::open(Name, Bytes)),
            static_cast<bool>(SharedMemory::open(Name, Bytes, SharedMemory::Access::ReadOnly)),
            static_cast<bool>(SharedMemory::create(Name, Bytes))};
        for (const bool taken : isTaken)
            EXPECT_EQ(taken, isEnough) << begin << ", " << bytes;
    }
    EXPECT_FALSE(SharedMemory::open(Name, 1));
}

// Fault: a block that vanishes with the library that has probed it.
TEST(WindowsSharedMemory, WhatIsKeptOutlivesItsHolder) {
    {
        auto memory = SharedMemory::create(Name, Bytes);
        *static_cast<char*>(memory.data()) = 7;
        memory.keepToTheEnd();
        EXPECT_FALSE(memory);
    }
    const auto again = SharedMemory::open(Name, Bytes);
    ASSERT_TRUE(again);
    EXPECT_EQ(*static_cast<char*>(again.data()), 7);
}

}  // namespace
}  // namespace tarn::platform
