#include "foundation/RadioLock.h"

#include "foundation/Radio.h"

#include <condition_variable>
#include <mutex>

namespace tarn {

// A thread that waits for a lock. On that thread's stack, so that waiting allocates nothing.
struct RadioLock::Waiting {
    std::uintptr_t thread;
    const RadioLock* lock;
    Waiting* next;
};

namespace {

// Guards the list of waiting threads. While it is held, none of them goes on, and so a circle can
// be seen. Only threads that find a lock owned by another come here.
std::mutex waiting;
std::condition_variable freed;  // a lock that was awaited has no owner now

}  // namespace

constinit RadioLock::Waiting* RadioLock::firstWaiting_ = nullptr;

// Makes this thread the owner; returns the owner in whose place, or 0 after having waited.
std::uintptr_t RadioLock::waitOrDisplace(std::uintptr_t self) noexcept {
    std::unique_lock guard(waiting);
    Waiting me{self, this, firstWaiting_};
    firstWaiting_ = &me;
    std::uintptr_t displaced = 0;
    for (;;) {
        std::uintptr_t owner = owner_.load(std::memory_order_relaxed);
        if (owner == 0) {
            // Awaited, because others may wait too: all are woken when we leave.
            if (owner_.compare_exchange_strong(owner, self | Awaited, std::memory_order_acquire))
                break;
            continue;
        }
        if (ownerWaitsFor(self)) {
            displaced = threadOf(owner);
            // The owner sleeps; only Asked may come in between.
            while (!owner_.compare_exchange_weak(owner, self | Awaited | (owner & Asked),
                                                 std::memory_order_relaxed)) {
            }
            break;
        }
        if ((owner & Awaited) != 0 ||
            owner_.compare_exchange_strong(owner, owner | Awaited, std::memory_order_relaxed))
            freed.wait(guard);
    }
    Waiting** link = &firstWaiting_;
    while (*link != &me)
        link = &(*link)->next;
    *link = me.next;
    return displaced;
}

// False if another thread owns the lock; it is asked then. Each asking is written, also where one
// is there already, so that the owner sees what this thread did before.
bool RadioLock::takeOrAsk(std::uintptr_t self) noexcept {
    std::uintptr_t owner = owner_.load(std::memory_order_relaxed);
    for (;;) {
        const std::uintptr_t next = owner == 0 ? self : owner | Asked;
        if (owner_.compare_exchange_weak(owner, next, std::memory_order_acq_rel,
                                         std::memory_order_relaxed))
            return owner == 0;
    }
}

// While the lock is owned, its radio is there: who asked did so before the radio's end, and that
// waits for the lock.
void RadioLock::leaveTo(std::uintptr_t displaced) noexcept {
    while (!passTo(displaced)) {
        owner_.fetch_and(~Asked, std::memory_order_acquire);
        radio_->catchUp();
    }
}

// False, and the lock stays, if the owner is asked to do something first.
bool RadioLock::passTo(std::uintptr_t displaced) noexcept {
    std::unique_lock guard(waiting, std::defer_lock);
    if (displaced != 0)
        guard.lock();
    const std::uintptr_t next = displaced != 0 ? displaced | Awaited : 0;
    std::uintptr_t owner = owner_.load(std::memory_order_relaxed);
    while ((owner & Asked) == 0) {
        if (!owner_.compare_exchange_weak(owner, next, std::memory_order_release,
                                          std::memory_order_relaxed))
            continue;
        if (displaced == 0 && (owner & Awaited) != 0) {
            guard.lock();
            freed.notify_all();
        }
        return true;
    }
    return false;
}

// Whether the owner waits for a lock whose owner waits for a lock, and so on, of `self`.
bool RadioLock::ownerWaitsFor(std::uintptr_t self) const noexcept {
    const RadioLock* lock = this;
    for (;;) {
        const std::uintptr_t owner = threadOf(lock->owner_.load(std::memory_order_relaxed));
        if (owner == self)
            return true;
        const Waiting* thread = firstWaiting_;
        while (thread != nullptr && thread->thread != owner)
            thread = thread->next;
        if (thread == nullptr)
            return false;
        lock = thread->lock;
    }
}

}  // namespace tarn
