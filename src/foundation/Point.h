// A place on a surface.
#pragma once

#include <cstdint>

namespace tarn {

/// In pixels, from the top left.
struct Point {
    std::int32_t x = 0;
    std::int32_t y = 0;

    bool operator==(const Point&) const = default;
    Point operator+(Point other) const noexcept { return {x + other.x, y + other.y}; }
    Point operator-(Point other) const noexcept { return {x - other.x, y - other.y}; }
    Point operator-() const noexcept { return {-x, -y}; }
};

}  // namespace tarn
