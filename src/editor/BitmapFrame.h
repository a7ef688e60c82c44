// Images that are strips of frames, as buttons show them.
#pragma once

#include "drawing/Bitmap.h"
#include "drawing/Canvas.h"
#include "foundation/Rect.h"

#include <algorithm>
#include <cstdint>

namespace tarn {

/// The size of a frame, from 0, 0.
inline Rect frameOf(const Bitmap& bitmap) {
    const Point size = bitmap.getFrameSize();
    return {0, 0, size.x, size.y};
}

/// At the origin; a strip that has no such frame shows the nearest one.
inline void drawBitmapFrame(Canvas& canvas, const Bitmap& bitmap, std::int32_t index) {
    const std::int32_t last = bitmap.getFrameCount() - 1;
    canvas.drawBitmap(bitmap, bitmap.getFrameRect(std::clamp(index, 0, last)), frameOf(bitmap));
}

}  // namespace tarn
