// The format of a connection: the block of shared memory through which one plug-in instance, the
// master, sends one channel of audio to one receiving program, the slave. Everything rests on the
// offsets below: processes of both widths, and programs built elsewhere, read and write the same
// bytes. Little-endian; nothing in it is ever trusted.
#pragma once

#include "link/SharedWord.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace tarn {

constexpr std::uint32_t ConnectionSlots = 32;  // connections on a machine, numbered 0 to 31
constexpr std::uint32_t ConnectionRingSamples =
    32768;  // a power of two, so that wrapping is one AND
constexpr std::uint32_t ConnectionRingMask = ConnectionRingSamples - 1;
constexpr std::uint32_t ConnectionBlockSize = 131784;  // bytes
constexpr std::uint32_t ConnectionPreroll =
    16384;  // samples a reader starts behind the write head, at most
constexpr std::int64_t ConnectionFreshSeconds =
    10;  // age of the last write up to which a connection is fresh
constexpr std::int64_t ConnectionLiveSeconds =
    1;  // age of the last write up to which a read succeeds
constexpr std::size_t ConnectionNameBytes = 32;

/// The ring and its three counters. One writer, one reader, in different processes: every counter
/// is one aligned word that is loaded and stored whole, and masked or bounded where it is used.
/// Audio threads.
struct ConnectionRing {
    float ring[ConnectionRingSamples];  // 32-bit IEEE floats, one channel
    std::uint32_t writeIndex;           // of the next sample to write, always below 32768
    std::uint32_t readIndex;            // the writer's notion of the oldest sample
    std::uint32_t count;                // unread samples; at most 32768 after a write

    /// Puts `frames` samples in, any number of them. What doesn't fit pushes out the oldest at
    /// once: `count` is then pinned at 32768 and `readIndex` at the write head. The samples are
    /// visible before the counters that tell of them.
    void put(const float* samples, std::uint32_t frames) noexcept {
        const std::uint32_t head = std::atomic_ref(writeIndex).load(std::memory_order_relaxed);
        copyIn(head, samples, frames);
        advance(head + frames, frames);
    }

    /// The two halves of it, for a writer that knows its own position: the samples from ring index
    /// `head` on, then the counters. Of an index the bits of the ring count.
    void copyIn(std::uint32_t head, const float* samples, std::uint32_t frames) noexcept;
    void advance(std::uint32_t newHead, std::uint32_t frames) noexcept;

    /// Takes the smaller of `frames` and `count` samples out, beginning at ring index `position`,
    /// which moves on past them. Returns how many were taken; the rest of the buffer is left alone.
    std::uint32_t get(float* samples, std::uint32_t frames, std::uint32_t& position) noexcept;

private:
    // Out of line, so that the common way saves fewer registers.
    void copyInAcrossTheEnd(std::uint32_t head, const float* samples,
                            std::uint32_t frames) noexcept;
};

/// What one reader keeps in the block. Only the first of the 32 is used.
struct ReaderRecord {
    std::uint8_t starting;    // not 0: the next read runs the pre-roll rule
    std::uint8_t slaveInUse;  // 1 while a slave is attached
    std::uint8_t padding[2];
    std::uint32_t reserved[3];   // 0
    std::uint32_t readPosition;  // ring index of the next sample that this reader takes
};

struct ConnectionBlock {
    std::uint32_t slot;              // 0 to 31
    char name[ConnectionNameBytes];  // padded with zeros; not terminated when it fills all 32 bytes
    std::uint8_t masterInUse;        // 1 while a master owns the block
    std::uint8_t padding[3];
    std::int32_t inputLatency;  // of the sending host, in samples
    std::uint32_t reserved;
    std::uint32_t
        lastWriteTime[2];  // whole seconds since 1970 UTC, signed 64 bits: low word, high word
    ConnectionRing audio;
    ReaderRecord readers[ConnectionSlots];
    std::uint32_t reservedAtEnd;
};

/// The operating system's name of a slot's block: "Connection #0" for slot 0.
std::string connectionMappingName(std::uint32_t slot);

/// `lastWriteTime` as one number; any bits are possible. Two words, since a master may store them
/// one by one; the high one changes every 136 years.
inline std::int64_t stampOf(const ConnectionBlock& block) noexcept {
    const std::uint64_t high = loadShared(block.lastWriteTime[1]);
    return static_cast<std::int64_t>(high << 32 | loadShared(block.lastWriteTime[0]));
}

/// `now` less so many seconds; wraps, since either may be any number.
std::int64_t secondsBefore(std::int64_t now, std::int64_t seconds) noexcept;

/// The name: at most 32 bytes, whatever they are.
std::string nameOf(const ConnectionBlock& block);

static_assert(sizeof(float) == 4);
static_assert(offsetof(ConnectionRing, writeIndex) == 0x20000);
static_assert(offsetof(ConnectionRing, readIndex) == 0x20004);
static_assert(offsetof(ConnectionRing, count) == 0x20008);
static_assert(sizeof(ConnectionRing) == 0x2000C);

static_assert(offsetof(ReaderRecord, starting) == 0);
static_assert(offsetof(ReaderRecord, slaveInUse) == 1);
static_assert(offsetof(ReaderRecord, reserved) == 4);
static_assert(offsetof(ReaderRecord, readPosition) == 16);
static_assert(sizeof(ReaderRecord) == 20);

static_assert(offsetof(ConnectionBlock, slot) == 0x00000);
static_assert(offsetof(ConnectionBlock, name) == 0x00004);
static_assert(offsetof(ConnectionBlock, masterInUse) == 0x00024);
static_assert(offsetof(ConnectionBlock, inputLatency) == 0x00028);
static_assert(offsetof(ConnectionBlock, reserved) == 0x0002C);
static_assert(offsetof(ConnectionBlock, lastWriteTime) == 0x00030);
static_assert(offsetof(ConnectionBlock, audio) == 0x00038);
static_assert(offsetof(ConnectionBlock, audio.writeIndex) == 0x20038);
static_assert(offsetof(ConnectionBlock, audio.readIndex) == 0x2003C);
static_assert(offsetof(ConnectionBlock, audio.count) == 0x20040);
static_assert(offsetof(ConnectionBlock, readers) == 0x20044);
static_assert(offsetof(ConnectionBlock, readers[0].slaveInUse) == 0x20045);
static_assert(offsetof(ConnectionBlock, readers[0].readPosition) == 0x20054);
static_assert(offsetof(ConnectionBlock, reservedAtEnd) == 0x202C4);
static_assert(sizeof(ConnectionBlock) == ConnectionBlockSize);

// Inline, because a call costs as much as a short block.

inline void ConnectionRing::copyIn(std::uint32_t head, const float* samples,
                                   std::uint32_t frames) noexcept {
    head &= ConnectionRingMask;
    if (frames > ConnectionRingSamples - head) [[unlikely]]
        copyInAcrossTheEnd(head, samples, frames);
    else if (frames > 0) [[likely]]
        std::memcpy(ring + head, samples, frames * sizeof(float));
}

inline void ConnectionRing::advance(std::uint32_t newHead, std::uint32_t frames) noexcept {
    newHead &= ConnectionRingMask;
    std::uint32_t unread = std::atomic_ref(count).load(std::memory_order_relaxed) + frames;
    if (unread > ConnectionRingSamples) [[likely]] {  // only a slave takes anything off
        unread = ConnectionRingSamples;
        std::atomic_ref(readIndex).store(newHead, std::memory_order_relaxed);
    }
    std::atomic_ref(count).store(unread, std::memory_order_release);
    std::atomic_ref(writeIndex).store(newHead, std::memory_order_release);
}

inline std::uint32_t ConnectionRing::get(float* samples, std::uint32_t frames,
                                         std::uint32_t& position) noexcept {
    const std::uint32_t taken =
        std::min(frames, std::atomic_ref(count).load(std::memory_order_acquire));
    if (taken == 0)
        return 0;

    // Two spans at most, unless a wrapped `count` lets a caller take more than the ring holds.
    std::uint32_t from = position & ConnectionRingMask;
    position = (from + taken) & ConnectionRingMask;
    for (std::uint32_t copied = 0; copied < taken; from = 0) {
        const std::uint32_t span = std::min(taken - copied, ConnectionRingSamples - from);
        std::memcpy(samples + copied, ring + from, span * sizeof(float));
        copied += span;
    }

    // One atomic step: the writer's plain add can then lose only this subtraction, which leaves
    // `count` too high, and that does no harm; a lost addition would let a reader fall behind for
    // ever.
    std::atomic_ref(count).fetch_sub(taken, std::memory_order_relaxed);
    return taken;
}

}  // namespace tarn
