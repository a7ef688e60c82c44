// Memory for audio: values that vector instructions may be used on.
#pragma once

#include "foundation/Allocator.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace tarn {

struct AlignedDelete {
    void operator()(float* values) const noexcept { Allocator::operator delete[](values); }
};

/// Values at a multiple of 16 bytes.
using AlignedFloats = std::unique_ptr<float[], AlignedDelete>;

/// Not initialised. Throws std::bad_alloc, also for more than an address can tell apart.
inline AlignedFloats allocateFloats(std::size_t count) {
    if (count > PTRDIFF_MAX / sizeof(float))
        throw std::bad_array_new_length();
    return AlignedFloats(static_cast<float*>(Allocator::operator new[](count * sizeof(float))));
}

}  // namespace tarn
