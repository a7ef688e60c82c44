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
//
// That helps where threads wait for radios alone. A listener may also call the host and wait there
// for a lock of the host's, while a thread that holds the host's lock wants this one. A thread that
// may be such a one doesn't wait: it asks the owner to do its work (`AskOwner`).
#pragma once

#include "platform/Thread.h"

#include <atomic>
#include <cstdint>

namespace tarn {

class Radio;

class RadioLock {
public:
    /// `radio` is the one whose `catchUp` does what owners are asked to do; without one, no owner
    /// may be asked.
    explicit RadioLock(Radio* radio = nullptr) noexcept : radio_(radio) {}
    RadioLock(const RadioLock&) = delete;
    RadioLock& operator=(const RadioLock&) = delete;

    /// The way of a `Hold` that doesn't wait.
    struct AskOwner {};

    /// Owns the lock from its construction to its end. A local variable: of the holds that a thread
    /// has, the newest ends first. Allocates nothing, and makes no system call if no other thread
    /// owns the lock. Its destructor lets go of the lock last of all, so that the next owner may
    /// destroy the lock.
    class Hold {
    public:
        explicit Hold(RadioLock& lock) noexcept : lock_(lock) {
            const std::uintptr_t self = platform::currentThreadId();
            const std::uintptr_t owner = lock_.enter(self);
            isOutermost_ = owner != self;
            if (owner != 0 && isOutermost_)
                displaced_ = lock_.waitOrDisplace(self);
        }

        /// Never waits. If another thread owns the lock, this is no owner, and that thread calls
        /// the radio's `catchUp` before it leaves the lock; it sees all that this one did before.
        Hold(RadioLock& lock, AskOwner /*whenTaken*/) noexcept : lock_(lock) {
            const std::uintptr_t self = platform::currentThreadId();
            const std::uintptr_t owner = lock_.enter(self);
            isOwner_ = owner == 0 || owner == self || lock_.takeOrAsk(self);
            isOutermost_ = isOwner_ && owner != self;
        }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;
        ~Hold() {
            if (isOutermost_)
                lock_.leaveTo(displaced_);
        }

        bool isOwner() const noexcept { return isOwner_; }

    private:
        RadioLock& lock_;
        bool isOwner_ = true;
        bool isOutermost_ = true;       // this thread didn't own the lock before
        std::uintptr_t displaced_ = 0;  // the thread that owned it before, 0 for none
    };

private:
    struct Waiting;

    // Beside the owner: some thread waits; the owner is to call `catchUp`.
    static constexpr std::uintptr_t Awaited = 1;
    static constexpr std::uintptr_t Asked = 2;

    static std::uintptr_t threadOf(std::uintptr_t owner) noexcept {
        return owner & ~(Awaited | Asked);
    }

    /// Returns who owned the lock: 0 if this thread does now.
    std::uintptr_t enter(std::uintptr_t self) noexcept {
        std::uintptr_t owner = 0;
        owner_.compare_exchange_strong(owner, self, std::memory_order_acquire,
                                       std::memory_order_relaxed);
        return threadOf(owner);
    }
    std::uintptr_t waitOrDisplace(std::uintptr_t self) noexcept;
    bool takeOrAsk(std::uintptr_t self) noexcept;
    void leaveTo(std::uintptr_t displaced) noexcept;
    bool passTo(std::uintptr_t displaced) noexcept;
    bool ownerWaitsFor(std::uintptr_t self) const noexcept;

    static Waiting* firstWaiting_;  // of all threads that wait for any lock

    std::atomic<std::uintptr_t> owner_{0};  // its thread's number, 0 for none, Awaited and Asked
    Radio* const radio_;
};

}  // namespace tarn
