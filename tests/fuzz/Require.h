// What must hold whatever comes in: a fuzzer stops where it doesn't.
#pragma once

#include <cstdlib>
#include <span>

namespace tarn::fuzz {

inline void require(bool condition) {
    if (!condition)
        std::abort();
}

/// Read all values, so that one beyond its buffer is found.
template <typename Value>
void touch(const Value* values, long long count) {
    for (long long i = 0; i < count; ++i)
        static_cast<void>(*const_cast<const volatile Value*>(values + i));
}

template <typename Value>
void touch(std::span<Value> values) {
    touch(values.data(), static_cast<long long>(values.size()));
}

}  // namespace tarn::fuzz
