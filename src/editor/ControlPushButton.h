// Base of buttons that do something when they are clicked, and have no value.
#pragma once

#include "editor/BitmapFrame.h"
#include "editor/Control.h"

#include <memory>

namespace tarn {

/// Key "handle" is a strip of up to three frames: at rest, under the pointer, and pressed; those
/// that are missing look like the one before. Without it the label is shown. Without a size, the
/// control takes a frame's. Interface thread.
class ControlPushButton : public Control {
public:
    using Control::Control;

    void importDictionary(const Dictionary& dictionary) override;
    bool handle(Message& message) override;
    void suspend() override { isPressed_ = false; }
    void drawForeground(Canvas& canvas, const Rect& rect) override;
    bool takesKeyboard() const override { return true; }
    bool isButton() const override { return true; }

protected:
    /// Whether it happens at the press, not where the button is let go over the control.
    virtual bool actsAtPress() const { return false; }

private:
    bool handleWindow(const WindowMessage& message);

    std::shared_ptr<Bitmap> handle_;
    bool isPressed_ = false;
};

}  // namespace tarn
