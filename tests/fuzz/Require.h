// What must hold whatever comes in: a fuzzer stops where it doesn't.
#pragma once

#include <cstdlib>

namespace tarn::fuzz {

inline void require(bool condition) {
    if (!condition)
        std::abort();
}

/// Reads all values, so that one beyond its buffer is found.
template <typename Value>
void touch(const Value* values, long long count) {
    for (long long i = 0; i < count; ++i)
        static_cast<void>(*const_cast<const volatile Value*>(values + i));
}

}  // namespace tarn::fuzz
