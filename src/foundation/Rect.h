// A rectangle on a surface.
#pragma once

#include <algorithm>
#include <cstdint>

namespace tarn {

/// In pixels; `right` and `bottom` are the first ones outside. All zero means empty.
struct Rect {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;

    bool operator==(const Rect&) const = default;

    bool isEmpty() const noexcept { return *this == Rect{}; }

    /// The smallest rectangle that holds both; one that is empty adds nothing.
    Rect unitedWith(const Rect& other) const noexcept {
        if (isEmpty() || other.isEmpty())
            return isEmpty() ? other : *this;
        return {std::min(left, other.left), std::min(top, other.top), std::max(right, other.right),
                std::max(bottom, other.bottom)};
    }
};

}  // namespace tarn
