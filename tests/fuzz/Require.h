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
inline void touch(std::span<const float> values) {
    for (const float& value : values)
        static_cast<void>(*const_cast<const volatile float*>(&value));
}

}  // namespace tarn::fuzz
