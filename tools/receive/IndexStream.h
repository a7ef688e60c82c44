// Follows a sender that doesn't tell its position: a master that knows the connection's block
// alone. Everything rests on the write head: it is looked at several times in the time that a ring
// lasts, and so tells how much was written in between; what lies farther back than half a ring may
// be under the writer's hands, and counts as lost. A sender that runs faster than it is believed
// to, or whose blocks are longer than half a ring, loses more than can be seen here.
#pragma once

#include "Delivery.h"
#include "link/ConnectionListener.h"
#include "link/ReaderMark.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace tarn::receive {

/// One thread. Never waits: the caller looks again and again, many times in the time of a ring.
class IndexStream {
public:
    enum class Begin { HalfARingBehind, AtTheHead };

    /// Begins at the first sample of a sender that hasn't written yet, else half a ring behind its
    /// write head, or at it. `rate` in Hz is what the sender is believed to run at. It tells after
    /// how long an absence a whole ring may have gone by, and gives way to a higher one that is
    /// seen.
    IndexStream(const ConnectionListener& listener, double rate,
                Begin begin = Begin::HalfARingBehind);

    /// Takes what is new, at most one ring, into a buffer of the caller's. Leaves a mark in the
    /// connection's block from the first time on.
    Delivery look(ConnectionListener& listener, std::uint32_t slot, std::vector<float>& buffer);

    /// Sees how far the sender has come, and takes nothing. Takes the mark away, so that nothing of
    /// the block is held.
    void rest(const ConnectionListener& listener);

    /// Whether a master has made the block anew since the last look; the next look follows it, from
    /// its first sample.
    bool isMadeAnew() const noexcept { return mark_ && !mark_->stands(); }

    /// Whether it has brought samples of the present master.
    bool hasDelivered() const noexcept { return hasDelivered_; }

private:
    void followNewMaster(Delivery& delivery);
    bool observeHead(const ConnectionListener& listener);
    void place(const ConnectionListener& listener);
    void take(ConnectionListener& listener, std::vector<float>& buffer, Delivery& delivery);

    std::unique_ptr<ReaderMark> mark_;  // null at rest
    const double rate_;

    // The sender's stream, counted in samples from where it was first looked at.
    std::int64_t head_ = 0;      // written so far
    std::int64_t position_ = 0;  // delivered or given up so far
    std::uint32_t headIndex_ = 0;
    bool isPlaced_ = false;  // `position_` is where this stream begins
    bool hasDelivered_ = false;

    // The last look.
    double lookedAt_;               // high-resolution seconds
    std::int64_t lookedAtSecond_;   // calendar seconds
    std::int64_t writtenAtSecond_;  // the stamp that was seen

    // How fast the sender was seen to write.
    double measuredRate_ = 0.0;  // Hz
    double measuredFrom_;        // high-resolution seconds
    std::int64_t measuredHead_ = 0;
};

}  // namespace tarn::receive
