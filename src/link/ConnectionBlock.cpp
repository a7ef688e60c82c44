#include "link/ConnectionBlock.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace tarn {

namespace {

using Word = std::atomic_ref<std::uint32_t>;

constexpr std::uint32_t toRingEnd(std::uint32_t position) {
    return ConnectionRingSamples - position;
}

}  // namespace

void ConnectionRing::put(const float* samples, std::uint32_t frames) noexcept {
    const std::uint32_t head = Word(writeIndex).load(std::memory_order_relaxed);
    const std::uint32_t newHead = (head + frames) & ConnectionRingMask;

    // Of more than a ring only the last ring's worth would survive.
    const std::uint32_t kept = std::min(frames, ConnectionRingSamples);
    const float* source = samples + (frames - kept);
    const std::uint32_t start = (newHead - kept) & ConnectionRingMask;
    const std::uint32_t first = std::min(kept, toRingEnd(start));
    if (first > 0)
        std::memcpy(ring + start, source, first * sizeof(float));
    if (kept > first)
        std::memcpy(ring, source + first, (kept - first) * sizeof(float));

    std::uint32_t unread = Word(count).load(std::memory_order_relaxed) + frames;
    if (unread > ConnectionRingSamples) {
        unread = ConnectionRingSamples;
        Word(readIndex).store(newHead, std::memory_order_relaxed);
    }
    Word(count).store(unread, std::memory_order_release);
    Word(writeIndex).store(newHead, std::memory_order_release);
}

std::uint32_t ConnectionRing::get(float* samples, std::uint32_t frames,
                                  std::uint32_t& position) noexcept {
    const std::uint32_t taken = std::min(frames, Word(count).load(std::memory_order_acquire));
    if (taken == 0)
        return 0;

    // Two spans at most, unless a wrapped `count` lets a caller take more than the ring holds.
    std::uint32_t from = position & ConnectionRingMask;
    for (std::uint32_t copied = 0; copied < taken;) {
        const std::uint32_t span = std::min(taken - copied, toRingEnd(from));
        std::memcpy(samples + copied, ring + from, span * sizeof(float));
        copied += span;
        from = (from + span) & ConnectionRingMask;
    }
    position = from;

    // One atomic step: the writer's plain add can then lose only this subtraction, which leaves
    // `count` too high, and that does no harm; a lost addition would let a reader fall behind for
    // ever.
    Word(count).fetch_sub(taken, std::memory_order_relaxed);
    return taken;
}

}  // namespace tarn
