// A rectangle on a surface.
#pragma once

#include "foundation/Point.h"

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

    std::int32_t width() const noexcept { return right - left; }
    std::int32_t height() const noexcept { return bottom - top; }
    Point topLeft() const noexcept { return {left, top}; }

    /// Whether there is a pixel inside.
    bool hasArea() const noexcept { return left < right && top < bottom; }

    bool contains(Point point) const noexcept {
        return point.x >= left && point.x < right && point.y >= top && point.y < bottom;
    }
    bool contains(const Rect& other) const noexcept {
        return other.left >= left && other.right <= right && other.top >= top &&
               other.bottom <= bottom;
    }

    Rect movedBy(Point by) const noexcept {
        return {left + by.x, top + by.y, right + by.x, bottom + by.y};
    }

    /// What lies in both; empty if nothing does.
    Rect intersectedWith(const Rect& other) const noexcept {
        const Rect both{std::max(left, other.left), std::max(top, other.top),
                        std::min(right, other.right), std::min(bottom, other.bottom)};
        return both.hasArea() ? both : Rect{};
    }

    /// The smallest rectangle that holds both; one that is empty adds nothing.
    Rect unitedWith(const Rect& other) const noexcept {
        if (isEmpty() || other.isEmpty())
            return isEmpty() ? other : *this;
        return {std::min(left, other.left), std::min(top, other.top), std::max(right, other.right),
                std::max(bottom, other.bottom)};
    }
};

}  // namespace tarn
