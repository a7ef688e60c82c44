// What a window keeps of its interface, against what all of its controls would draw.
#pragma once

#include "drawing/Canvas.h"
#include "editor/Editor.h"

#include <cstdint>
#include <string>

namespace tarn::test {

/// Whether nothing on the canvas is out of date once what is dirty has been drawn. True for an
/// interface that has no picture.
inline bool keepsItsPicture(Editor& editor) {
    const auto rows = [&editor] {
        std::string bytes;
        const Canvas* const canvas = editor.getCanvas();
        const PixelsData* const pixels = canvas != nullptr ? canvas->getPixels() : nullptr;
        for (std::int32_t y = 0; pixels != nullptr && y < pixels->getHeight(); ++y)
            bytes.append(reinterpret_cast<const char*>(pixels->row(y)),
                         std::size_t{PixelsData::BytesPerPixel} *
                             static_cast<std::size_t>(pixels->getWidth()));
        return bytes;
    };
    // What other threads queued meanwhile is delivered once a tick has painted.
    for (int ticks = 0; ticks == 0 || (editor.isDirty() && ticks < 10); ++ticks)
        editor.idle();
    const std::string kept = rows();
    editor.paint(nullptr, editor.getClientRect());
    return rows() == kept;
}

}  // namespace tarn::test
