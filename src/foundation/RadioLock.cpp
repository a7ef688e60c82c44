#include "foundation/RadioLock.h"

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
            displaced = owner & ~Awaited;
            owner_.store(self | Awaited, std::memory_order_relaxed);
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

void RadioLock::giveBackTo(std::uintptr_t displaced) noexcept {
    const std::lock_guard guard(waiting);
    owner_.store(displaced | Awaited, std::memory_order_relaxed);
}

// Whether the owner waits for a lock whose owner waits for a lock, and so on, of `self`.
bool RadioLock::ownerWaitsFor(std::uintptr_t self) const noexcept {
    const RadioLock* lock = this;
    for (;;) {
        const std::uintptr_t owner = lock->owner_.load(std::memory_order_relaxed) & ~Awaited;
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

void RadioLock::wakeWaiting() noexcept {
    const std::lock_guard guard(waiting);
    freed.notify_all();
}

}  // namespace tarn
