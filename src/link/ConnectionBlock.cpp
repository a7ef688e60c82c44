#include "link/ConnectionBlock.h"

namespace tarn {

// Of more than a ring only the last ring's worth would survive.
void ConnectionRing::copyInAcrossTheEnd(std::uint32_t head, const float* samples,
                                        std::uint32_t frames) noexcept {
    const std::uint32_t kept = std::min(frames, ConnectionRingSamples);
    const float* source = samples + (frames - kept);
    const std::uint32_t start = (head + frames - kept) & ConnectionRingMask;
    const std::uint32_t first = std::min(kept, ConnectionRingSamples - start);
    std::memcpy(ring + start, source, first * sizeof(float));
    std::memcpy(ring, source + first, (kept - first) * sizeof(float));
}

std::string connectionMappingName(std::uint32_t slot) {
    return "Connection #" + std::to_string(slot);
}

std::int64_t secondsBefore(std::int64_t now, std::int64_t seconds) noexcept {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(now) -
                                     static_cast<std::uint64_t>(seconds));
}

std::string nameOf(const ConnectionBlock& block) {
    char name[ConnectionNameBytes];
    std::memcpy(name, block.name, sizeof name);
    return std::string(name, std::find(name, name + sizeof name, '\0'));
}

}  // namespace tarn
