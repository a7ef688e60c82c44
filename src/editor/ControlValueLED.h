// A lamp that is as bright as its parameter's value.
#pragma once

#include "editor/ControlValue.h"

#include <memory>

namespace tarn {

/// Its strip has two frames: dark, and lit, which is drawn over it. With the key "valueon" it is
/// lit at that normalised value alone, and dark otherwise. Interface thread.
class ControlValueLED : public ControlValue {
public:
    using ControlValue::ControlValue;

    void importDictionary(const Dictionary& dictionary) override;
    bool handle(Message& message) override;
    void refresh() override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;

private:
    void follow(float value);

    bool hasValueOn_ = false;
    float valueOn_ = 0.0f;
    std::shared_ptr<Bitmap> ledBitmap_;
    float brightness_ = 0.0f;  // from 0 to 1
};

}  // namespace tarn
