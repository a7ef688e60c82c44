#include "foundation/AllocationCount.h"

#include <cstdlib>
#include <new>

namespace {
thread_local std::size_t allocations = 0;
}

std::size_t allocationCount() noexcept {
    return allocations;
}

void* operator new(std::size_t bytes) {
    ++allocations;
    if (void* memory = std::malloc(bytes != 0 ? bytes : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
