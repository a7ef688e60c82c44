// Follows one connection through the comings and goings of its senders, and keeps account of every
// sample. Everything rests on the write head: it is looked at several times in the time that a ring
// lasts, and so tells how much was written in between; what lies farther back than half a ring may
// be under the writer's hands, and counts as lost.
#pragma once

#include "link/IOBridge.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarn::receive {

/// A connection by its slot or by its name.
struct Target {
    std::optional<std::uint32_t> slot;  // 0 to 31; without one the name counts
    std::string name;
};

/// What one look at the connection brought.
struct Delivery {
    std::span<const float> samples;  // valid until the next look
    std::uint64_t missed = 0;        // samples of the sender that are missing before these
    bool isMissedUnknown = false;  // more are missing before these, and their number can't be known
    bool isBeginning = false;      // these are the first of a sender, or of one that came back
};

/// One thread at a time. Never waits: the caller looks again and again, many times a second.
class Receiver {
public:
    enum class State {
        NoConnection,  // nothing under that number or name
        Occupied,      // there is, but another receiver is attached to it
        Silent,        // attached; nothing was written for more than a second, or ever
        Receiving,
    };

    /// `rate` in Hz is what the sender is believed to run at. It tells after how long an absence a
    /// whole ring may have gone by, and gives way to a higher one that is seen. With `takesOver` a
    /// connection that is marked as having a receiver is taken all the same, which is right when
    /// that receiver was killed.
    Receiver(Target target, double rate, bool takesOver);

    /// Looks at the connection and takes what is new, at most one ring.
    Delivery look();

    State state() const noexcept { return state_; }

    /// Of the connection that was last attached to; mean nothing before.
    std::uint32_t slot() const noexcept { return slot_; }
    const std::string& name() const noexcept { return name_; }
    std::int32_t inputLatency() const noexcept;  // of the sending host, in samples

private:
    bool attach();
    bool isStillOurs();
    void letGo();
    void followNewSender();
    void resume();
    bool observeHead();
    bool begin(Delivery& delivery);
    void take(Delivery& delivery);

    const Target target_;
    const double rate_;
    const bool takesOver_;
    State state_ = State::NoConnection;
    std::unique_ptr<IOBridge<float>> bridge_;
    std::uint32_t slot_ = 0;
    std::string name_;
    std::int64_t attachedAt_ = 0;  // calendar seconds

    // The sender's stream, counted in samples from where it was first looked at.
    std::int64_t head_ = 0;      // written so far
    std::int64_t position_ = 0;  // delivered or given up so far; means nothing without a history
    std::uint32_t headIndex_ = 0;
    std::uint32_t positionIndex_ = 0;
    bool hasHistory_ =
        false;  // samples of this sender were delivered, or it was watched from its first one
    bool hasDelivered_ = false;  // the former
    bool isStarted_ = false;     // the pre-roll rule has placed this reader

    // The last look.
    double lookedAt_ = 0.0;             // high-resolution seconds
    std::int64_t lookedAtSecond_ = 0;   // calendar seconds
    std::int64_t writtenAtSecond_ = 0;  // the stamp that was seen

    // How fast the sender was seen to write.
    double measuredRate_ = 0.0;  // Hz
    double measuredFrom_ = 0.0;  // high-resolution seconds
    std::int64_t measuredHead_ = 0;

    std::vector<float> buffer_ = std::vector<float>(ConnectionRingSamples);
};

}  // namespace tarn::receive
