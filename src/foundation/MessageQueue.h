// Messages on their way from any threads to one, the interface's, each with the radio that it is
// for.
//
// Everything rests on one rule: `push` neither allocates nor waits, so the audio thread may call
// it. Where there is no room, the oldest message gives way.
//
// The queue doesn't own radios. A radio that goes calls `purge` with itself, once no thread can
// push messages from it or for it any more. After that the queue doesn't call it.
#pragma once

#include "foundation/MessageSlot.h"
#include "foundation/RadioLock.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace tarn {

class MessageQueue {
public:
    /// Room for so many messages, rounded up to a power of two, 2 at least.
    explicit MessageQueue(std::size_t capacity);
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    /// Queues a copy of the message; `target` may be null, then nobody gets it. False if the
    /// message wasn't queued: MessageSlot has no room for its id, or the queue is full and another
    /// thread has been interrupted in the place that would be next. Audio thread.
    bool push(const Message& message, Radio* target) noexcept;

    /// Calls `receive` of the targets, oldest message first, with `sender` as the messages' sender.
    /// What is pushed meanwhile waits for the next call. Always on the same thread; also inside
    /// `receive`.
    void deliver(Radio* sender);

    /// Whether a message was lost, the queue being full, or not taken, since the last call:
    /// listeners then read anew what they keep. Any thread.
    bool takeLoss() noexcept { return hasLost_.exchange(false, std::memory_order_relaxed); }

    /// Drops the messages whose target is `radio`, or whose sender was when they were pushed. Their
    /// places stay taken until their turn comes. While the consumer's thread delivers to `radio`,
    /// waits until that delivery is over, and those in which it is nested. Doesn't wait inside that
    /// delivery, nor if it waits itself for a radio from which the caller delivers. Any thread but
    /// the audio thread.
    void purge(const Radio* radio);

private:
    // Positions count from 0 in the order of pushes, and wrap. Position p is at home in cell p
    // modulo the capacity. A cell's sequence is p while the cell is free for position p, and p + 1
    // once it holds the message. Whoever moves `pushed_` or `taken_` on owns the cell at the old
    // position, until it sets the cell's sequence.
    using Position = std::uint32_t;

    struct Cell {
        void forget(const Radio* radio) noexcept;

        std::atomic<Position> sequence{0};
        std::atomic<Radio*> target{nullptr};
        std::atomic<const void*> sender{nullptr};  // the cell itself if that was purged
        MessageSlot slot;
    };
    class Run;

    Cell& cellAt(Position position) noexcept { return cells_[position & (capacity_ - 1)]; }
    Cell* claimFree(Position& position) noexcept;
    void dropOldest(Position oldest) noexcept;
    Cell* claimOldest(Position end, Position& position) noexcept;
    Radio* take(Run& run, MessageSlot& slot);
    bool isReceiving(const Radio* radio) const noexcept;

    const Position capacity_;
    std::vector<Cell> cells_;
    std::atomic<Position> pushed_{0};
    std::atomic<Position> taken_{0};
    std::atomic<bool> hasLost_{false};

    RadioLock delivery_;  // held while a target receives
    std::mutex lock_;     // held while the consumer takes a message, or `purge` drops some
    Run* innermost_ = nullptr;
};

}  // namespace tarn
