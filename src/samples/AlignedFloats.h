// Memory for audio: values that vector instructions may be used on.
#pragma once

#include "foundation/Allocator.h"

#include <cstddef>
#include <memory>

namespace tarn {

struct AlignedDelete {
    void operator()(float* values) const noexcept { Allocator::operator delete[](values); }
};

/// Values at a multiple of 16 bytes.
using AlignedFloats = std::unique_ptr<float[], AlignedDelete>;

/// Not initialised. Throws std::bad_alloc.
inline AlignedFloats allocateFloats(std::size_t count) {
    return AlignedFloats(static_cast<float*>(Allocator::operator new[](count * sizeof(float))));
}

}  // namespace tarn
