// Counts the heap allocations of a thread, to show that a path makes none, and lets them fail.
#pragma once

#include <cstddef>

namespace tarn::test {

/// Allocations of the calling thread through operator new, in all its forms, since the thread
/// began.
long allocationsOfThisThread() noexcept;

/// Those that a piece of work makes.
template <typename Work>
long allocationsOf(const Work& work) {
    const long before = allocationsOfThisThread();
    work();
    return allocationsOfThisThread() - before;
}

/// While it lives, memory is too short for what this thread asks for in one piece above `bytes`.
struct AllocationLimit {
    explicit AllocationLimit(std::size_t bytes) noexcept;
    ~AllocationLimit();
};

}  // namespace tarn::test
