// The format of the state block that stands beside a connection's block: what the sender tells
// about itself and about its stream. It answers the one question that the connection's block can't:
// how many samples were sent. Little-endian, 4096 bytes; nothing in it is ever trusted.
//
// Everything rests on two positions, which count samples since the session began and never wrap:
//
//   The sender, for a block of n samples at its own position P, which it never reads back:
//     claimed = P + n;  release fence;  the samples at P AND 0x7FFF and on, and the connection
//     block's counters;  published = P + n (release).
//   A receiver:
//     session, published (acquire);  copy;  acquire fence;  claimed, session (acquire).
//     Sample x is good if the session is the same and not 0, x < published, published <= claimed
//     and claimed - x <= 32768. Whatever else lies between the receiver's position and `published`
//     is lost, and so counted exactly.
//   A sender that takes the slot over:
//     owner by compare-and-swap;  session = 0;  fence;  the connection's block, and all fields
//     here; session (release).
//   A sender that lets go:
//     ended = 1;  the connection block's `masterInUse` = 0;  owner = 0 (each a release).
//
// docs/connection.md tells it all to those who write receivers of their own.
#pragma once

#include "link/ConnectionBlock.h"
#include "platform/Process.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tarn {

constexpr std::uint32_t ConnectionStateSize = 4096;         // bytes
constexpr std::uint32_t ConnectionStateMagic = 0x53435254;  // "TRCS" in memory
constexpr std::uint16_t ConnectionStateMajor = 1;           // another one means another layout
constexpr std::uint16_t ConnectionStateMinor = 0;  // a higher one has put reserved room to use
constexpr std::size_t ConnectionListeners = 32;
constexpr std::size_t ConnectionStateTextBytes = 64;
constexpr std::uint32_t ConnectionListenerTimeout = 2000;  // ms after a beat in which it counts

constexpr double ConnectionHighestRate = 1e7;  // Hz; beyond, it is no rate

/// `rateFrom` while the sender is changing the rate.
constexpr std::uint64_t ConnectionRateChanges = ~std::uint64_t{0};

/// What the sender writes with every block of audio, in a cache line of its own.
struct ConnectionStream {
    std::uint64_t claimed;    // up to here the ring may be under the sender's hands
    std::uint64_t published;  // so many samples were sent
    double rate;              // Hz; 0 if the host hasn't told it
    std::uint64_t rateFrom;   // the position of the first sample at this rate
};

struct ConnectionState {
    // Set when a sender takes the slot over; `session` last.
    std::uint32_t magic;
    std::uint16_t major;
    std::uint16_t minor;
    std::uint32_t size;  // of this block, 4096 or more
    std::uint32_t slot;  // 0 to 31
    std::uint64_t
        session;          // names this sender's life, as no other one is named; 0 while it is made
    std::uint64_t owner;  // the sender's process: id, and above it its start in ms; 0: free
    std::uint64_t formerSession;    // the one before it over this block, 0 if there was none
    std::uint64_t formerPublished;  // and where that one ended
    std::uint32_t ended;            // 1: the sender has let go
    std::uint32_t reserved0;
    std::uint64_t ownerSpace;  // in which the owner's process id means something, see Process.h

    ConnectionStream stream;
    std::uint64_t reserved2[4];

    // Changes now and then.
    std::uint32_t channels;        // sent: 1
    std::uint32_t announcedBlock;  // the host's largest block in frames, 0 if it hasn't told
    std::uint32_t isOffline;       // 1 while the host renders offline, as far as it tells
    std::uint32_t isMuted;         // 1 while the sender's own output is silent
    std::uint64_t reserved3[6];

    // UTF-8, padded with zeros, the last byte always 0. Set when the slot is taken over.
    char host[ConnectionStateTextBytes];     // the host program
    char product[ConnectionStateTextBytes];  // what sends, with its version

    std::uint64_t reserved4[24];  // such as for a track's name

    // Who listens: an id that is unique among them in the low 32 bits, and in the high 32 bits the
    // milliseconds of the high-resolution clock, modulo 2^32, at its last sign of life. 0: free.
    std::uint64_t listeners[ConnectionListeners];

    std::uint64_t reserved5[416];  // such as for a second channel, and for offline transfer
};

static_assert(sizeof(double) == 8);
static_assert(offsetof(ConnectionState, magic) == 0x000);
static_assert(offsetof(ConnectionState, major) == 0x004);
static_assert(offsetof(ConnectionState, minor) == 0x006);
static_assert(offsetof(ConnectionState, size) == 0x008);
static_assert(offsetof(ConnectionState, slot) == 0x00C);
static_assert(offsetof(ConnectionState, session) == 0x010);
static_assert(offsetof(ConnectionState, owner) == 0x018);
static_assert(offsetof(ConnectionState, formerSession) == 0x020);
static_assert(offsetof(ConnectionState, formerPublished) == 0x028);
static_assert(offsetof(ConnectionState, ended) == 0x030);
static_assert(offsetof(ConnectionState, ownerSpace) == 0x038);
static_assert(offsetof(ConnectionState, stream.claimed) == 0x040);
static_assert(offsetof(ConnectionState, stream.published) == 0x048);
static_assert(offsetof(ConnectionState, stream.rate) == 0x050);
static_assert(offsetof(ConnectionState, stream.rateFrom) == 0x058);
static_assert(offsetof(ConnectionState, channels) == 0x080);
static_assert(offsetof(ConnectionState, announcedBlock) == 0x084);
static_assert(offsetof(ConnectionState, isOffline) == 0x088);
static_assert(offsetof(ConnectionState, isMuted) == 0x08C);
static_assert(offsetof(ConnectionState, host) == 0x0C0);
static_assert(offsetof(ConnectionState, product) == 0x100);
static_assert(offsetof(ConnectionState, listeners) == 0x200);
static_assert(offsetof(ConnectionState, reserved5) == 0x300);
static_assert(sizeof(ConnectionState) == ConnectionStateSize);

// Both widths read and write the 64-bit words whole.
static_assert(std::atomic_ref<std::uint64_t>::is_always_lock_free);
static_assert(std::atomic_ref<double>::is_always_lock_free);

/// The operating system's name of a slot's state block: "Connection #0 state" for slot 0.
std::string connectionStateName(std::uint32_t slot);

/// Whether the block has this layout. Fields that a later minor version has added are unknown here.
bool isConnectionState(const ConnectionState& state) noexcept;

/// What is known of the owner's process. Not for the audio thread.
platform::ProcessLife lifeOfOwner(const ConnectionState& state) noexcept;

/// Whether the ring's write head can be at that index while a sender is between two positions.
bool isBetween(std::uint32_t writeIndex, std::uint64_t published, std::uint64_t claimed) noexcept;

/// Whether the last that wrote into the connection's block can be the session of the state block.
bool doBlocksAgree(const ConnectionBlock& block, const ConnectionState& state) noexcept;

/// How many listeners have given a sign of life within the last 2 seconds; `now` in milliseconds of
/// the high-resolution clock, modulo 2^32.
int countListeners(const ConnectionState& state, std::uint32_t now) noexcept;

/// The high-resolution clock in milliseconds, modulo 2^32.
std::uint32_t listenerClock() noexcept;

/// One listener's place among the 32. One thread.
class ListenerPlace {
public:
    /// A sign of life, to be given at least once a second; claims a place if it has none, or if
    /// another took it, and goes on without one while all are taken. At most ten times a second it
    /// writes anything.
    void beat(ConnectionState& state, std::uint32_t now);

    /// Frees the place.
    void leave(ConnectionState& state) noexcept;

private:
    std::uint32_t id_ = 0;  // 0 before the first beat
    std::size_t place_ = ConnectionListeners;
    std::uint64_t word_ = 0;  // what was last written there
};

}  // namespace tarn
