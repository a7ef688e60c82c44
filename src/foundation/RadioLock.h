// The recursive lock under which radios deliver, and which can't deadlock with its own kind.
// Everything rests on one rule: a thread that would wait for itself, through any number of other
// threads that wait for these locks, doesn't wait. It enters in the place of the one that is
// inside, as if the threads of the circle were one, and the circle goes on when it has left.
//
// Such a circle arises from ordinary use: two radios, each transmitting on a thread of its own,
// whose listeners answer by tuning to, or transmitting from, the other one. All threads of a circle
// but the last are parked, and stay parked while the last one is inside, so what it sees and
// changes is what a nested call of theirs could have seen and changed.
#pragma once

#include <atomic>
#include <cstdint>

namespace tarn {

class RadioLock {
public:
    RadioLock() = default;
    RadioLock(const RadioLock&) = delete;
    RadioLock& operator=(const RadioLock&) = delete;

    /// Inside from its construction to its end, on one thread; holds nest. Allocates nothing, and
    /// where no other thread is inside it calls nothing of the system. The lock must live until the
    /// hold's destructor, which doesn't touch it any more once another thread can enter.
    class Hold {
    public:
        explicit Hold(RadioLock& lock) noexcept;
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;
        ~Hold();

    private:
        RadioLock& lock_;
        std::uintptr_t displaced_ = 0;  // the thread in whose place we are, 0 for none
        int displacedDepth_ = 0;
    };

private:
    struct Parked;

    static constexpr std::uintptr_t Awaited = 1;  // beside the owner: somebody is parked for it

    std::uintptr_t waitOrDisplace(std::uintptr_t self) noexcept;
    bool closesCircle(std::uintptr_t self) const noexcept;

    static Parked* firstParked_;  // of this process; guarded by the one place where all park

    std::atomic<std::uintptr_t> owner_{0};  // a thread's number and Awaited
    int depth_ = 0;                         // of the owner's nested holds
};

}  // namespace tarn
