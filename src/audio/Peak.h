// The largest level in a run of samples.
#pragma once

#include <xmmintrin.h>

namespace tarn {

/// What `peakOf` is made of: the peak in the lowest lane. A float that a function of a 32-bit
/// program returns would go through memory to the x87 stack and back, which takes 6 ns.
__m128 peakLaneOf(const float* samples, int frames) noexcept;

/// The largest absolute value among `frames` samples, 0.0 for none; NaN is passed over. Any
/// alignment. Audio thread.
inline float peakOf(const float* samples, int frames) noexcept {
    return _mm_cvtss_f32(peakLaneOf(samples, frames));
}

}  // namespace tarn
