// The sender's side of a connection's state block: who owns the slot, and where its stream is.
// Everything rests on one rule: a slot belongs to the process that put its name into `owner` by
// compare-and-swap, so that of two instances that search at the same moment one goes on.
#pragma once

#include "link/ConnectionState.h"
#include "link/SharedWord.h"
#include "platform/SharedMemory.h"

#include <atomic>
#include <cstdint>
#include <string_view>

namespace tarn {

/// What a sender is called, in UTF-8; 63 bytes of each are kept.
struct SenderNames {
    std::string_view host;     // the host program
    std::string_view product;  // what sends, with its version
};

/// Without a state block, because none can be made, everything works and tells nobody.
class ConnectionOwner {
public:
    ConnectionOwner() = default;
    ConnectionOwner(const ConnectionOwner&) = delete;
    ConnectionOwner& operator=(const ConnectionOwner&) = delete;
    ~ConnectionOwner() { giveBack(); }

    // In the order of life; control thread.

    /// Tries to take a slot of which `isMarked` says whether its block bears a master's mark. False
    /// when another sender owns it: the mark tells so, unless its owner's process is gone. True
    /// without a state block when a slot without mark can have none.
    bool claim(std::uint32_t slot, bool isMarked);

    /// Frees the slot for others; before `hide` the slot is then as it was.
    void giveBack() noexcept;

    /// Brackets the making of the connection's block: in between no session is seen. `begin` tells
    /// a session that no other one has, at position 0.
    void hide();
    void begin(const SenderNames& names) noexcept;

    /// Tells that nothing more will come; before the master's mark goes, and `giveBack` after it.
    void end() noexcept;

    // One block of `frames` samples, on the sender's audio thread: `claimFrames`, then the samples
    // go into the ring from `ringPosition` on, `advance`, the connection block's counters,
    // `publish`.

    void claimFrames(std::uint32_t frames) noexcept {
        if (isRateNew_.load(std::memory_order_relaxed)) [[unlikely]]
            changeRate();
        storeShared(stream_->claimed, position_ + frames);
        fenceShared(std::memory_order_release);
    }

    /// The ring index of the next sample, in its low bits.
    std::uint32_t ringPosition() const noexcept { return static_cast<std::uint32_t>(position_); }

    void advance(std::uint32_t frames) noexcept { position_ += frames; }
    void publish() noexcept {
        storeShared(stream_->published, position_, std::memory_order_release);
    }

    // What the sender tells. Any thread; they take effect at once, the rate with the next block.

    /// Hz, up to 10,000,000; anything else means that it isn't known.
    void setRate(double hertz) noexcept;
    void setAnnouncedBlock(std::uint32_t frames) noexcept;
    void setOffline(bool isOffline) noexcept;
    void setMuted(bool isMuted) noexcept;

    /// Receivers that listen now; those that attach to the connection's block alone aren't counted.
    int listeners() const noexcept;

private:
    void changeRate() noexcept;

    platform::SharedMemory mapping_;
    ConnectionState* state_ = nullptr;  // in mapping_; null without one
    std::uint32_t slot_ = 0;
    std::uint64_t formerOwner_ = 0;  // what `giveBack` puts back
    std::uint64_t session_ = 0;      // that `begin` tells

    ConnectionStream untold_{};            // written to while there is no state block
    ConnectionStream* stream_ = &untold_;  // of the audio thread, as the rest here
    std::uint64_t position_ = 0;           // samples sent in this session
    std::atomic<bool> isRateNew_{false};
    std::atomic<double> rate_{0.0};
};

}  // namespace tarn
