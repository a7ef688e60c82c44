#include "link/ConnectionBlock.h"

namespace tarn {

// Of more than a ring only the last ring's worth would survive.
void ConnectionRing::putAcrossTheEnd(const float* samples, std::uint32_t frames,
                                     std::uint32_t newHead) noexcept {
    const std::uint32_t kept = std::min(frames, ConnectionRingSamples);
    const float* source = samples + (frames - kept);
    const std::uint32_t start = (newHead - kept) & ConnectionRingMask;
    const std::uint32_t first = std::min(kept, ConnectionRingSamples - start);
    std::memcpy(ring + start, source, first * sizeof(float));
    std::memcpy(ring, source + first, (kept - first) * sizeof(float));
}

}  // namespace tarn
