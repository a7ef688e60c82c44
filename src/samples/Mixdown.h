// Sample values out of stored bytes, and one channel out of several. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

/// Little-endian values of 1 (unsigned), 2 or 3 bytes (signed), no others, to floats, full scale
/// being 1.0. Bytes may lie anywhere, and not where the floats are to be.
void decodeValues(const unsigned char* bytes, std::int32_t bytesPerValue, std::size_t values,
                  float* out) noexcept;

/// For each frame of interleaved values: the sum, in order, of the values divided by `channels`,
/// which is at least 1. `out` doesn't overlap.
void mixInterleaved(const float* values, std::int32_t channels, std::size_t frames,
                    float* out) noexcept;

}  // namespace tarn
