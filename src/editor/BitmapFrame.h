// Images that are strips of frames, as controls show them.
#pragma once

#include "drawing/Bitmap.h"
#include "drawing/Canvas.h"
#include "foundation/Rect.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace tarn {

/// The size of a frame, from 0, 0.
inline Rect frameOf(const Bitmap& bitmap) {
    const Point size = bitmap.getFrameSize();
    return {0, 0, size.x, size.y};
}

/// So much of a length, or of a strip's last frame; rounded.
inline std::int32_t partOf(std::int32_t length, float part) {
    return static_cast<std::int32_t>(std::lround(static_cast<float>(length) * part));
}

/// At the origin; a strip that has no such frame shows the nearest one.
inline void drawBitmapFrame(Canvas& canvas, const Bitmap& bitmap, std::int32_t index) {
    const std::int32_t last = bitmap.getFrameCount() - 1;
    canvas.drawBitmap(bitmap, bitmap.getFrameRect(std::clamp(index, 0, last)), frameOf(bitmap));
}

/// A part of a frame, where it stands in the frame too; nothing of one that the strip doesn't have.
inline void drawBitmapPart(Canvas& canvas, const Bitmap& bitmap, std::int32_t index,
                           const Rect& part) {
    const Rect source = bitmap.getFrameRect(index);
    const Rect shown = part.intersectedWith({0, 0, source.width(), source.height()});
    if (shown.hasArea())
        canvas.drawBitmap(bitmap, shown.movedBy(source.topLeft()), shown);
}

}  // namespace tarn
