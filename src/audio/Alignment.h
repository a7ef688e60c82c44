// How audio lies in memory.
#pragma once

#include <cstdint>

namespace tarn {

/// How many samples, 0 to 3, stand before the first one at a multiple of 16 bytes. Any thread.
inline int samplesToAlignment(const float* samples) noexcept {
    return static_cast<int>(-reinterpret_cast<std::uintptr_t>(samples) % 16 / sizeof(float));
}

/// Whether two runs of so many samples share any. Any thread.
inline bool overlap(const float* a, const float* b, int samples) noexcept {
    const auto bytes = static_cast<std::uintptr_t>(samples) * sizeof(float);
    const auto ahead = reinterpret_cast<std::uintptr_t>(a) - reinterpret_cast<std::uintptr_t>(b);
    return ahead < bytes || -ahead < bytes;
}

}  // namespace tarn
