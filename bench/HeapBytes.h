// How much of the heap is in use.
#pragma once

#include <cstddef>

namespace tarn::bench {

/// Bytes that this process has allocated and not freed, the heap's own headers included. Takes its
/// time.
std::size_t heapBytes();

}  // namespace tarn::bench
