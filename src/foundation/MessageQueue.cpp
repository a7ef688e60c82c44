#include "foundation/MessageQueue.h"

#include "foundation/Radio.h"

#include <algorithm>
#include <bit>

namespace tarn {

namespace {

// A try fails when another thread is quicker, or is about to free the cell. More than a few in a
// row mean that it was interrupted there.
constexpr int MaxTries = 256;

// Of two positions that are less than 2^31 apart.
bool isBefore(std::uint32_t a, std::uint32_t b) noexcept {
    return static_cast<std::int32_t>(b - a) > 0;
}

}  // namespace

// One call of `deliver`.
class MessageQueue::Run {
public:
    explicit Run(MessageQueue& queue)
        : end(queue.pushed_.load(std::memory_order_relaxed)), queue_(queue) {
        const std::lock_guard guard(queue_.lock_);
        outer = queue_.innermost_;
        queue_.innermost_ = this;
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run() {
        const std::lock_guard guard(queue_.lock_);
        queue_.innermost_ = outer;
    }

    const Position end;       // what was pushed from here on waits
    Radio* target = nullptr;  // who receives
    Run* outer;               // the run in one of whose deliveries this one is called

private:
    MessageQueue& queue_;
};

MessageQueue::MessageQueue(std::size_t capacity)
    : capacity_(std::bit_ceil(std::max(static_cast<Position>(capacity), Position{2}))),
      cells_(capacity_) {
    for (Position i = 0; i < capacity_; ++i)
        cells_[i].sequence.store(i, std::memory_order_relaxed);
}

bool MessageQueue::push(const Message& message, Radio* target) noexcept {
    Position position = 0;
    Cell* const cell = MessageSlot::hasRoomFor(message) ? claimFree(position) : nullptr;
    if (cell == nullptr) {
        hasLost_.store(true, std::memory_order_relaxed);
        return false;
    }
    cell->target.store(target, std::memory_order_relaxed);
    cell->sender.store(message.sender, std::memory_order_relaxed);
    cell->slot.store(message);
    cell->sequence.store(position + 1, std::memory_order_release);
    return true;
}

MessageQueue::Cell* MessageQueue::claimFree(Position& position) noexcept {
    for (int tries = 0; tries < MaxTries; ++tries) {
        position = pushed_.load(std::memory_order_relaxed);
        Cell& cell = cellAt(position);
        const Position sequence = cell.sequence.load(std::memory_order_acquire);
        const Position lapBefore = position - capacity_;
        if (sequence == lapBefore + 1)
            dropOldest(lapBefore);
        else if (sequence == position &&
                 pushed_.compare_exchange_strong(position, position + 1, std::memory_order_relaxed))
            return &cell;
    }
    return nullptr;
}

// Unless another thread has taken it.
void MessageQueue::dropOldest(Position oldest) noexcept {
    Position expected = oldest;
    if (taken_.compare_exchange_strong(expected, oldest + 1, std::memory_order_relaxed)) {
        cellAt(oldest).sequence.store(oldest + capacity_, std::memory_order_release);
        hasLost_.store(true, std::memory_order_relaxed);
    }
}

void MessageQueue::deliver(Radio* sender) {
    Run run(*this);
    MessageSlot slot;
    while (isBefore(taken_.load(std::memory_order_relaxed), run.end)) {
        const RadioLock::Hold hold(delivery_);
        Radio* const target = take(run, slot);
        if (target == nullptr)
            return;
        slot.message()->sender = sender;
        target->receive(*slot.message());
    }
}

// Moves the run's next message that has a target into the slot. Null if there is none.
Radio* MessageQueue::take(Run& run, MessageSlot& slot) {
    const std::lock_guard guard(lock_);
    run.target = nullptr;
    Position position = 0;
    while (Cell* const cell = claimOldest(run.end, position)) {
        if (cell->sender.load(std::memory_order_relaxed) != cell)
            run.target = cell->target.load(std::memory_order_relaxed);
        if (run.target != nullptr)
            slot.store(*cell->slot.message());
        cell->sequence.store(position + capacity_, std::memory_order_release);
        if (run.target != nullptr)
            return run.target;
    }
    return nullptr;
}

// Null if there is none before `end`, or if it is still being written.
MessageQueue::Cell* MessageQueue::claimOldest(Position end, Position& position) noexcept {
    position = taken_.load(std::memory_order_relaxed);
    while (isBefore(position, end)) {
        Cell& cell = cellAt(position);
        if (cell.sequence.load(std::memory_order_acquire) == position + 1) {
            if (taken_.compare_exchange_strong(position, position + 1, std::memory_order_relaxed))
                return &cell;
            continue;
        }
        const Position seen = position;
        position = taken_.load(std::memory_order_relaxed);
        if (position == seen)
            return nullptr;
    }
    return nullptr;
}

// Each only where it is still `radio`: a producer may use the cell anew meanwhile.
void MessageQueue::Cell::forget(const Radio* radio) noexcept {
    Radio* expectedTarget = const_cast<Radio*>(radio);
    target.compare_exchange_strong(expectedTarget, nullptr, std::memory_order_relaxed);
    const void* expectedSender = radio;
    sender.compare_exchange_strong(expectedSender, this, std::memory_order_relaxed);
}

void MessageQueue::purge(const Radio* radio) {
    if (radio == nullptr)
        return;
    bool mustWait = false;
    {
        const std::lock_guard guard(lock_);
        for (Cell& cell : cells_)
            cell.forget(radio);
        mustWait = isReceiving(radio);
    }
    if (mustWait)
        const RadioLock::Hold hold(delivery_);
}

// In any of the runs, which are nested.
bool MessageQueue::isReceiving(const Radio* radio) const noexcept {
    const Run* run = innermost_;
    while (run != nullptr && run->target != radio)
        run = run->outer;
    return run != nullptr;
}

}  // namespace tarn
