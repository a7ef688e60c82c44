// A slider: filled up to its position, or with a handle that moves along it.
#pragma once

#include "editor/ControlValue.h"

#include <cstdint>
#include <memory>

namespace tarn {

/// It lies along its longer side; upright ones rise, lying ones go to the right. Without a strip it
/// draws a plain bar with its label. Interface thread.
class ControlValueSlider : public ControlValue {
public:
    using ControlValue::ControlValue;

    void importDictionary(const Dictionary& dictionary) override;
    bool handle(Message& message) override;

    /// The children first, while the Alt key and the parameter of "altreverse" disagree; then the
    /// slider takes what none of them takes, in its whole rectangle.
    Control* findControlAt(Point point) override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;

protected:
    bool press(const WindowMessage& message) override;

private:
    enum class Type { Fill, Move };
    enum class Direction { BottomFill, TopFill, CenterFill, CenterGrow };

    bool isHorizontal() const { return testFlags(HorizontalLayout); }
    Rect handleRect() const;
    void drawPlain(Canvas& canvas) const;
    void drawFilled(Canvas& canvas) const;

    Type sliderType_ = Type::Fill;
    std::shared_ptr<Bitmap> handleBitmap_;
    Direction direction_ = Direction::BottomFill;
    std::int32_t minFill_ = 0;   // the least height of what is filled, in the skin's pixels
    bool grabAnywhere_ = false;  // a press beside the handle moves nothing
};

}  // namespace tarn
