#include "support/AllocationCount.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

thread_local long allocations = 0;
thread_local std::size_t mostBytes = SIZE_MAX;

void* countedOrNull(std::size_t bytes) noexcept {
    ++allocations;
    return bytes <= mostBytes ? std::malloc(bytes != 0 ? bytes : 1) : nullptr;
}

void* counted(std::size_t bytes) {
    if (void* memory = countedOrNull(bytes))
        return memory;
    throw std::bad_alloc();
}

// The block's own address stands just before the aligned one. Where the block is aligned of
// itself, nothing is left behind the last byte, so that a sanitizer sees what is written there.
void* countedAligned(std::size_t bytes, std::size_t alignment) {
    auto* whole = static_cast<char*>(counted(bytes + alignment));
    const auto start = reinterpret_cast<std::size_t>(whole) + alignment;
    auto** aligned = reinterpret_cast<void**>(start / alignment * alignment);
    aligned[-1] = whole;
    return aligned;
}

void freeAligned(void* memory) {
    if (memory != nullptr)
        std::free(static_cast<void**>(memory)[-1]);
}

}  // namespace

long tarn::test::allocationsOfThisThread() noexcept {
    return allocations;
}

tarn::test::AllocationLimit::AllocationLimit(std::size_t bytes) noexcept {
    mostBytes = bytes;
}

tarn::test::AllocationLimit::~AllocationLimit() {
    mostBytes = SIZE_MAX;
}

// The forms for arrays too: a sanitizer brings its own.
void* operator new(std::size_t bytes) {
    return counted(bytes);
}
void* operator new[](std::size_t bytes) {
    return counted(bytes);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return countedOrNull(bytes);
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    return countedAligned(bytes, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t bytes, std::align_val_t alignment) {
    return countedAligned(bytes, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    freeAligned(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    freeAligned(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    freeAligned(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    freeAligned(memory);
}
