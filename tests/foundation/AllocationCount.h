// How often the calling thread has asked for memory.
#pragma once

#include <cstddef>

/// Calls of `operator new` on this thread so far.
std::size_t allocationCount() noexcept;
