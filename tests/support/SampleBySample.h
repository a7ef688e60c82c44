// The ring's two operations one sample at a time, as the format defines them: the model that the
// tests hold the fast ones against, and what the benchmarks measure the gain by.
#pragma once

#include "link/ConnectionBlock.h"

#include <cstdint>

namespace tarn::test {

inline void putSampleBySample(ConnectionRing& ring, const float* samples, std::uint32_t frames) {
    for (std::uint32_t i = 0; i < frames; ++i) {
        ring.ring[ring.writeIndex] = samples[i];
        ++ring.count;
        ring.writeIndex = (ring.writeIndex + 1) & 0x7FFF;
    }
    if (ring.count > 32768) {
        ring.count = 32768;
        ring.readIndex = ring.writeIndex;
    }
}

inline std::uint32_t getSampleBySample(ConnectionRing& ring, float* samples, std::uint32_t frames,
                                       std::uint32_t& position) {
    if (ring.count == 0)
        return 0;
    std::uint32_t delivered = 0;
    while (delivered < frames) {
        samples[delivered++] = ring.ring[position];
        position = (position + 1) & 0x7FFF;
        if (--ring.count == 0)
            break;
    }
    return delivered;
}

}  // namespace tarn::test
