// A run of numbers, both ends included.
#pragma once

namespace tarn {

/// Empty where `low` is above `high`.
template <typename T>
struct Range {
    T low{};
    T high{};

    bool contains(T value) const noexcept { return low <= value && value <= high; }
    bool operator==(const Range&) const = default;
};

}  // namespace tarn
