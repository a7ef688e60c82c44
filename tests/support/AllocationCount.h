// Counts the heap allocations of a thread, to show that a path makes none.
#pragma once

#include <cstddef>

namespace tarn::test {

/// Allocations of the calling thread through operator new, in all its forms, since the thread
/// began.
long allocationsOfThisThread() noexcept;

/// The sum of what they asked for, freed or not.
std::size_t bytesAllocatedByThisThread() noexcept;

}  // namespace tarn::test
