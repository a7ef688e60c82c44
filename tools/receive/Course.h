// The course of a reception from a sender that tells its position: which state it is in, how far it
// has come, and what is lost. Everything rests on one sum: what was delivered and what was told as
// missed is what the sender has sent. Pure computation, without a clock and without shared memory.
#pragma once

#include "Delivery.h"
#include "link/ConnectionListener.h"

#include <cstdint>

namespace tarn::receive {

enum class State {
    Searching,  // nothing under that number or name
    Silent,     // there is a sender; it wrote nothing for more than a second, or never
    Receiving,
    Ended,      // the sender has let go
    Abandoned,  // the sender's process has ended without letting go
    Lost,  // so may it have: its last write is more than 10 seconds old, and nobody can look at
           // its process

    // In the last two states the blocks are let go, so that the slot can become free.
};

/// What one look sees of a connection.
struct Sight {
    bool isThere = false;
    bool isEnded = false;  // the sender has let go
    bool isGone = false;   // the sender's process has ended, for certain
    bool isLost = false;   // or that can't be known, and its last write is more than 10 seconds old
    bool isLive = false;   // its last write is at most a second old

    // Of a sender that tells its position; read after the above.
    std::uint64_t session = 0;
    std::uint64_t formerSession = 0;
    std::uint64_t formerPublished = 0;
};

/// The one transition of states: from whatever state, what is seen decides.
State nextState(const Sight& sight) noexcept;

class Course {
public:
    State state() const noexcept { return state_; }

    /// The session that is followed, 0 before the first one and after `leave`.
    std::uint64_t session() const noexcept { return session_; }

    /// What comes next, a position in that session.
    std::uint64_t position() const noexcept { return position_; }

    /// Takes a look. A session other than the one that is followed becomes it, to be followed from
    /// `start` on; what is lost of the one before is added to `delivery`.
    void see(const Sight& sight, std::uint64_t start, Delivery& delivery);

    /// Takes samples of the followed session, as far as they have one rate: the rest comes with the
    /// next look. What is lost before them is added to `delivery`.
    void take(const TakenSamples& taken, Delivery& delivery);

    /// Whether the followed session is over and everything of it is accounted for.
    bool isOver() const noexcept { return isOver_; }

    /// Follows nothing any more. What is lost is added to `delivery`: what the session's successor
    /// tells of its end, if `sight` has the successor; else it is unknown, unless the session is
    /// over and there is no sign of another one since.
    void leave(const Sight& sight, Delivery& delivery);

private:
    State state_ = State::Searching;
    std::uint64_t session_ = 0;
    std::uint64_t position_ = 0;
    double rate_ = 0.0;     // of the samples before `position_`, 0 if it isn't known
    bool isFinal_ = false;  // the session's sender sends no more
    bool isOver_ = false;   // and everything of it is accounted for
    bool isFirst_ = false;  // nothing of the session was delivered yet
};

}  // namespace tarn::receive
