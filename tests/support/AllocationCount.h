// Counts the heap allocations of a thread, to show that a path makes none.
#pragma once

namespace tarn::test {

/// Allocations of the calling thread through operator new, in all its forms, since the thread
/// began.
long allocationsOfThisThread() noexcept;

}  // namespace tarn::test
