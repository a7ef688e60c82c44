// The lock of a radio. It guards the radio's ties and is held while the radio delivers a message.
//
// A thread may enter a lock that it holds already. And threads don't deadlock, though listeners
// transmit and tune as they like:
//
//     Thread 1 delivers from radio A, so it holds A's lock. A listener now transmits from B.
//     Thread 2 delivers from radio B, so it holds B's lock. A listener now transmits from A.
//
// With ordinary locks, both threads would wait forever. Here the first one to ask waits, say thread
// 1 for B's lock. When thread 2 asks for A's lock, it finds that the lock's owner waits for thread
// 2 itself. So thread 2 doesn't wait: it becomes A's owner in place of thread 1, which still
// sleeps. When thread 2 has done with A, it makes thread 1 the owner again. When it leaves B's
// lock too, thread 1 wakes up and goes on. The same is done where more than two threads wait in a
// circle.
//
// To thread 1 it looks as if its own call had changed A meanwhile. Any listener may do that, so
// code that calls listeners is ready for it.
#pragma once

#include "platform/Thread.h"

#include <atomic>
#include <cstdint>

namespace tarn {

class RadioLock {
public:
    RadioLock() = default;
    RadioLock(const RadioLock&) = delete;
    RadioLock& operator=(const RadioLock&) = delete;

    /// Owns the lock from its construction to its end. A local variable: of the holds that a thread
    /// has, the newest ends first. Allocates nothing, and makes no system call if no other thread
    /// owns the lock. Its destructor lets go of the lock last of all, so that the next owner may
    /// destroy the lock.
    class Hold {
    public:
        explicit Hold(RadioLock& lock) noexcept : lock_(lock) {
            const std::uintptr_t self = platform::currentThreadId();
            std::uintptr_t owner = 0;
            if (lock_.owner_.compare_exchange_strong(owner, self, std::memory_order_acquire,
                                                     std::memory_order_relaxed))
                return;
            isNested_ = (owner & ~Awaited) == self;
            if (!isNested_)
                displaced_ = lock_.waitOrDisplace(self);
        }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;
        ~Hold() {
            if (isNested_)
                return;
            if (displaced_ != 0)
                lock_.giveBackTo(displaced_);
            else if ((lock_.owner_.exchange(0, std::memory_order_release) & Awaited) != 0)
                wakeWaiting();
        }

    private:
        RadioLock& lock_;
        bool isNested_ = false;         // this thread owned the lock before
        std::uintptr_t displaced_ = 0;  // the thread that owned it before, 0 for none
    };

private:
    struct Waiting;

    static constexpr std::uintptr_t Awaited = 1;  // beside the owner: some thread waits

    std::uintptr_t waitOrDisplace(std::uintptr_t self) noexcept;
    void giveBackTo(std::uintptr_t displaced) noexcept;
    bool ownerWaitsFor(std::uintptr_t self) const noexcept;
    static void wakeWaiting() noexcept;

    static Waiting* firstWaiting_;  // of all threads that wait for any lock

    std::atomic<std::uintptr_t> owner_{0};  // its thread's number, 0 for none, and Awaited
};

}  // namespace tarn
