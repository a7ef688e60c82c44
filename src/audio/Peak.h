// The largest level in a run of samples.
#pragma once

#include <bit>
#include <cstdint>

namespace tarn {

/// The peak's bits, for `peakOf`: a float that a function of a 32-bit program returns would go
/// through memory to the x87 stack and back, which takes 6 ns.
std::uint32_t peakBitsOf(const float* samples, int frames) noexcept;

/// The largest absolute value among `frames` samples, 0.0 for none; NaN is passed over. Any
/// alignment. Audio thread.
inline float peakOf(const float* samples, int frames) noexcept {
    return std::bit_cast<float>(peakBitsOf(samples, frames));
}

}  // namespace tarn
