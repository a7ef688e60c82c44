// One listener's view of a connection: what the sender tells, and samples by their position in its
// stream. Everything rests on one rule: listening changes nothing of the connection's block, which
// is mapped for reading only, so that any number of listeners hear the same sender; and nothing
// that is read from either block is believed unchecked.
#pragma once

#include "link/ConnectionState.h"
#include "platform/Process.h"
#include "platform/SharedMemory.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarn {

/// What a sender with a state block tells about itself.
struct SenderFacts {
    std::uint64_t session;          // 0 while a sender is just making the connection
    bool isEnded;                   // it has let go
    std::uint64_t formerSession;    // the one before it, 0 if there was none
    std::uint64_t formerPublished;  // samples that one had sent in all
    std::uint64_t published;        // samples sent so far
    double rate;                    // Hz, 0 if it isn't known
    std::uint32_t channels;
    std::uint32_t announcedBlock;  // frames, 0 if it isn't known
    bool isOffline;
    bool isMuted;
    std::string host;  // at most 63 bytes, whatever they are; and so for the product
    std::string product;
    int listeners;  // that have given a sign of life in the last 2 seconds
};

/// Samples that were taken from a sender that tells its position.
struct TakenSamples {
    enum class Result {
        Taken,         // perhaps none: there is nothing new, or all of it is lost
        OtherSession,  // the session that was asked for isn't there any more
        Overrun,       // something else writes into this connection too: its state can't be trusted
    };
    Result result;
    std::uint64_t end = 0;           // what was sent so far, a position
    std::span<const float> samples;  // those before `end`; what lies between the position that was
                                     // asked for and the first of them is lost
    double rate = 0.0;               // Hz, as told at this moment; 0 if it isn't known
    std::uint64_t rateFrom = 0;  // position of the first sample at this rate; all ones, which is
                                 // beyond any sample, while the sender is changing it
};

/// Keeps the connection's two blocks alive while it lives. One thread at a time. Opening and the
/// destructor call the system; everything else only reads memory and the clocks.
class ConnectionListener {
public:
    /// Opens a slot, 0 to 31. It is right to have no block: see `hasBlock`.
    explicit ConnectionListener(std::uint32_t slot);
    ConnectionListener(const ConnectionListener&) = delete;
    ConnectionListener& operator=(const ConnectionListener&) = delete;
    ~ConnectionListener();

    /// Whether there is a connection's block, whatever its state. Without one nothing else may be
    /// called.
    bool hasBlock() const noexcept { return block_ != nullptr; }

    /// Looks for the state block again if there was none: a sender that has one may have taken the
    /// slot over.
    void openState();

    /// The block's fields, as ConnectionBlock.h has them; the name has at most 32 bytes, whatever
    /// they are.
    bool hasMaster() const noexcept;
    bool hasSlave() const noexcept;
    std::string name() const;
    std::int32_t inputLatency() const noexcept;
    std::int64_t lastWriteTime() const noexcept;
    std::uint32_t writeIndex() const noexcept;
    std::uint32_t unreadCount() const noexcept;

    /// Age of the last write is at most so many seconds, of the calendar clock. Never for a
    /// connection that wasn't written to yet.
    bool isWrittenWithin(std::int64_t seconds) const noexcept;

    /// What the sender tells about itself; nothing from one that has no state block, and from one
    /// whose state block stayed behind when a sender without took the slot over.
    std::optional<SenderFacts> sender() const;

    /// What is known of the sender's process, as far as it tells of one. Calls the system.
    platform::ProcessLife lifeOfSender() const noexcept {
        return state_ != nullptr ? lifeOfOwner(*state_) : platform::ProcessLife::Unknown;
    }

    /// The session alone, 0 in the cases in which `sender` tells nothing.
    std::uint64_t session() const noexcept;

    /// Takes all samples of a session that are still there, from `position` on, into a buffer of
    /// the caller's, which grows up to a ring.
    TakenSamples take(std::uint64_t session, std::uint64_t position, std::vector<float>& buffer);

    /// Copies samples by their place in the ring, whatever becomes of them meanwhile: for a sender
    /// that doesn't tell its position. At most one ring.
    std::span<const float> copy(std::uint32_t index, std::uint32_t samples,
                                std::vector<float>& buffer);

    /// Tells the sender, and everyone else, that somebody listens: a sign of life, to be given at
    /// each look. Does nothing where the state block may not be written.
    void beat();

private:
    bool isStateInForce() const noexcept;
    bool isMarkForeign(std::uint64_t owner, std::uint64_t session) const noexcept;
    void copyAcrossTheEnd(std::uint32_t index, std::uint32_t samples, std::vector<float>& buffer);

    const std::uint32_t slot_;
    platform::SharedMemory mapping_;
    platform::SharedMemory stateMapping_;
    const ConnectionBlock* block_ = nullptr;    // in mapping_
    const ConnectionState* state_ = nullptr;    // in stateMapping_; null without one
    ConnectionState* writableState_ = nullptr;  // the same, where it may be written
    ListenerPlace place_;
    std::uint64_t stampSession_ = 0;
    std::int64_t stamp_ = 0;  // the latest that was seen in that session
};

}  // namespace tarn
