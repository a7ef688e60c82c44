// How audio lies for vector instructions.
#pragma once

#include <cstdint>

namespace tarn {

/// How many samples, 0 to 3, stand before the first one at a multiple of 16 bytes. Any thread.
inline int samplesToAlignment(const float* samples) noexcept {
    return static_cast<int>(-reinterpret_cast<std::uintptr_t>(samples) % 16 / sizeof(float));
}

}  // namespace tarn
