// The largest level in a run of samples.
#pragma once

namespace tarn {

/// The largest absolute value among `frames` samples, 0.0 for none; NaN is passed over. Any
/// alignment. Audio thread.
float peakOf(const float* samples, int frames) noexcept;

}  // namespace tarn
