// Where the objects of the framework come from: memory that vector instructions may be used on.
#pragma once

#include <cstddef>
#include <new>

namespace tarn {

/// Virtual base of all that is allocated 16-byte aligned, whichever class `new` names. No state.
class Allocator {
public:
    static constexpr std::align_val_t Alignment{16};

    static void* operator new(std::size_t bytes) { return ::operator new(bytes, Alignment); }
    static void* operator new[](std::size_t bytes) { return ::operator new[](bytes, Alignment); }
    static void* operator new(std::size_t, void* where) noexcept { return where; }
    static void operator delete(void* memory) noexcept { ::operator delete(memory, Alignment); }
    static void operator delete[](void* memory) noexcept { ::operator delete[](memory, Alignment); }
    static void operator delete(void*, void*) noexcept {}
};

}  // namespace tarn
