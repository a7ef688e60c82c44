// Lets blocks of audio through, one at a time, and none while something that they use changes.
// Everything rests on one word: whoever has put its thread's number there is inside, for a block or
// for a change.
#pragma once

#include "platform/Thread.h"

#include <atomic>
#include <cstdint>

namespace tarn {

class AudioGate {
public:
    class Block;
    class Change;

    /// Closed at first. Neither waits for who is inside. Any thread.
    void open() noexcept { state_.fetch_or(Open, std::memory_order_release); }
    void close() noexcept { state_.fetch_and(~Open, std::memory_order_release); }

private:
    bool enter() noexcept {
        std::uintptr_t nobody = 0;
        return inside_.compare_exchange_strong(nobody, platform::currentThreadId(),
                                               std::memory_order_acquire,
                                               std::memory_order_relaxed);
    }
    bool enterForBlock() noexcept {
        if (!enter())
            return false;
        // Looked at inside: a change that closes the gate from here on waits for this block.
        if (state_.load(std::memory_order_relaxed) != Open) {
            leave();
            return false;
        }
        isForBlock_ = true;
        return true;
    }
    bool isOwn() const noexcept {
        return inside_.load(std::memory_order_relaxed) == platform::currentThreadId();
    }
    bool enterForChange();
    void leaveAfterChange(bool isInside) noexcept;
    void leave() noexcept { inside_.store(0, std::memory_order_release); }
    void leaveAfterBlock() noexcept {
        isForBlock_ = false;
        leave();
    }

    // The state is Open, and above it the number of changes that are made or wait; blocks get in at
    // Open alone.
    static constexpr std::uint32_t Open = 1;
    static constexpr std::uint32_t OneChange = 2;

    std::atomic<std::uint32_t> state_{0};
    std::atomic<std::uintptr_t> inside_{0};  // a thread's number, or 0
    bool isForBlock_ = false;                // why that thread is inside; its own
};

/// A block's stay inside. Audio thread.
class AudioGate::Block {
public:
    explicit Block(AudioGate& gate) noexcept : gate_(gate), isInside_(gate.enterForBlock()) {}
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() {
        if (isInside_)
            gate_.leaveAfterBlock();
    }

    /// False while the gate is closed and while another thread is inside: nothing may be touched
    /// then.
    bool isInside() const noexcept { return isInside_; }

private:
    AudioGate& gate_;
    const bool isInside_;
};

/// The stay inside of a thread that changes what blocks use. Control thread.
class AudioGate::Change {
public:
    /// Waits for the block under way, but no longer than 0.2 s, and not for the calling thread's
    /// own block.
    explicit Change(AudioGate& gate) : gate_(gate), isInside_(gate.enterForChange()) {}
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;
    ~Change() { gate_.leaveAfterChange(isInside_); }

    /// False when the wait was in vain: nothing may be changed then.
    bool isInside() const noexcept { return isInside_; }

    /// Whether it wasn't because the calling thread is inside already, for a block or for another
    /// change.
    bool isWithinOwn() const noexcept { return !isInside_ && gate_.isOwn(); }
    bool isWithinOwnBlock() const noexcept { return isWithinOwn() && gate_.isForBlock_; }

private:
    AudioGate& gate_;
    const bool isInside_;
};

}  // namespace tarn
