// A knob: dragged in a straight line, or around its middle, as the user prefers.
#pragma once

#include "editor/ControlValue.h"

#include <cstdint>
#include <memory>

namespace tarn {

/// Shows the frame of a strip that belongs to its position; without one it draws a plain dial.
/// Interface thread.
class ControlValueKnob : public ControlValue {
public:
    explicit ControlValueKnob(Editor& editor);

    void importDictionary(const Dictionary& dictionary) override;
    bool handle(Message& message) override;
    bool hitTest(Point point) const override;
    void buildContextMenu(PopupMenu& menu, Point position) override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;

protected:
    bool press(const WindowMessage& message) override;
    bool drag(const WindowMessage& message) override;

private:
    Rect frameRect() const;
    std::int32_t frame() const;
    float angleOf(Point point) const;

    std::shared_ptr<Bitmap> handleBitmap_;
    std::int32_t minAngle_ = -135;  // degrees clockwise from the top, at position 0
    std::int32_t maxAngle_ = 135;   // and at position 1
    float circularTurn_ = 0.0f;     // radians that the pointer has gone round since the press
};

}  // namespace tarn
