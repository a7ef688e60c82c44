// Follows one connection through the comings and goings of its senders, and keeps account of every
// sample. Everything rests on one rule: listening changes nothing for the sender or for others who
// listen. What a sender tells of its position is accounted for by `Course`; one that doesn't tell
// it is followed by `IndexStream`.
#pragma once

#include "Course.h"
#include "Delivery.h"
#include "IndexStream.h"
#include "link/ConnectionInfo.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::receive {

/// A connection by its slot or by its name, or the first one that sends.
struct Target {
    std::optional<std::uint32_t> slot;  // 0 to 31
    std::optional<std::string> name;    // when there is no slot
};

/// One thread at a time. Never waits: the caller looks again and again, many times a second.
class Receiver {
public:
    /// `rate` in Hz is what a sender that doesn't tell its rate is believed to run at.
    Receiver(Target target, double rate);

    /// Looks at the connection and takes what is new, at most one ring. The first look decides
    /// where to begin: with a session that is there already half a ring behind what was sent, with
    /// one that begins later at its first sample.
    Delivery look();

    State state() const noexcept { return state_; }

    /// Of the connection that was last found; mean nothing before.
    std::uint32_t slot() const noexcept { return slot_; }
    const std::string& name() const noexcept { return name_; }
    std::int32_t inputLatency() const noexcept { return inputLatency_; }  // of the host, in samples

    /// Whether its sender tells its position, so that every loss is known.
    bool isComplete() const noexcept { return stream_ == nullptr; }

private:
    bool find();
    bool isWanted(const ConnectionInfo& info) const;
    void remember(std::uint32_t slot, const ConnectionInfo& info);
    std::uint64_t startOf(const SenderFacts& facts) const;
    void lookAtProcess(const SenderFacts& facts);
    Sight sightOf(const SenderFacts& facts) const;
    bool follow(const SenderFacts& facts, Delivery& delivery);
    bool followIndex(Delivery& delivery);
    void take(Delivery& delivery);

    /// A session that was there before it was wanted, and where to begin with it.
    struct Known {
        std::uint64_t session = 0;
        std::uint64_t start = 0;
    };

    Target target_;
    const double rate_;
    State state_ = State::Searching;
    Course course_;
    std::unique_ptr<ConnectionListener> listener_;  // null while nothing is held
    std::vector<float> buffer_;                     // that the last delivery lies in
    std::unique_ptr<IndexStream> stream_;           // of a sender that doesn't tell its position
    std::uint64_t distrusted_ = 0;  // a session into whose ring another sender was seen to write
    bool hasLooked_ = false;        // and so has waited for what comes now
    platform::ProcessLife life_ = platform::ProcessLife::Unknown;  // of the sender's process
    double lifeLookedAt_ = 0.0;                                    // high-resolution seconds
    std::int64_t heldSince_ = 0;                                   // calendar seconds
    std::array<Known, ConnectionSlots> known_{};
    std::uint32_t slot_ = 0;
    std::string name_;
    std::int32_t inputLatency_ = 0;
};

}  // namespace tarn::receive
