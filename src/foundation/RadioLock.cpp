#include "foundation/RadioLock.h"

#include "platform/Thread.h"

#include <condition_variable>
#include <mutex>

namespace tarn {

// A thread that waits for a lock, on its own stack.
struct RadioLock::Parked {
    std::uintptr_t thread;
    const RadioLock* lock;
    Parked* next;
};

namespace {

// All waiting goes through one place, because a circle can only be seen with everything at rest.
// Threads come here only when they would wait anyway.
std::mutex parking;
std::condition_variable left;  // some lock that was awaited is free

}  // namespace

constinit RadioLock::Parked* RadioLock::firstParked_ = nullptr;

RadioLock::Hold::Hold(RadioLock& lock) noexcept : lock_(lock) {
    const std::uintptr_t self = platform::currentThreadId();
    std::uintptr_t owner = 0;
    if (lock_.owner_.compare_exchange_strong(owner, self, std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
        lock_.depth_ = 1;
        return;
    }
    if ((owner & ~Awaited) == self) {
        ++lock_.depth_;
        return;
    }
    displaced_ = lock_.waitOrDisplace(self);
    displacedDepth_ = displaced_ != 0 ? lock_.depth_ : 0;
    lock_.depth_ = 1;
}

RadioLock::Hold::~Hold() {
    if (--lock_.depth_ > 0)
        return;
    if (displaced_ != 0) {
        const std::lock_guard guard(parking);
        lock_.depth_ = displacedDepth_;
        lock_.owner_.store(displaced_ | Awaited, std::memory_order_relaxed);
        return;
    }
    if ((lock_.owner_.exchange(0, std::memory_order_release) & Awaited) != 0) {
        const std::lock_guard guard(parking);
        left.notify_all();
    }
}

// Enters; returns the thread in whose place, or 0.
std::uintptr_t RadioLock::waitOrDisplace(std::uintptr_t self) noexcept {
    std::unique_lock guard(parking);
    Parked me{self, this, firstParked_};
    firstParked_ = &me;
    std::uintptr_t displaced = 0;
    for (;;) {
        std::uintptr_t owner = owner_.load(std::memory_order_relaxed);
        if (owner == 0) {
            // Whoever else is parked for this lock is woken when we leave.
            if (owner_.compare_exchange_strong(owner, self | Awaited, std::memory_order_acquire))
                break;
            continue;
        }
        if (closesCircle(self)) {
            displaced = owner & ~Awaited;
            owner_.store(self | Awaited, std::memory_order_relaxed);
            break;
        }
        if ((owner & Awaited) != 0 ||
            owner_.compare_exchange_strong(owner, owner | Awaited, std::memory_order_relaxed))
            left.wait(guard);
    }
    Parked** link = &firstParked_;
    while (*link != &me)
        link = &(*link)->next;
    *link = me.next;
    return displaced;
}

// Whether this lock's owner is parked for a lock whose owner is parked, and so on, to ourselves.
bool RadioLock::closesCircle(std::uintptr_t self) const noexcept {
    const RadioLock* lock = this;
    for (;;) {
        const std::uintptr_t owner = lock->owner_.load(std::memory_order_relaxed) & ~Awaited;
        if (owner == self)
            return true;
        const Parked* waiting = firstParked_;
        while (waiting != nullptr && waiting->thread != owner)
            waiting = waiting->next;
        if (owner == 0 || waiting == nullptr)
            return false;
        lock = waiting->lock;
    }
}

}  // namespace tarn
