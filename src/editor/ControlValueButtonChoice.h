// A button that goes through the steps of its parameter.
#pragma once

#include "editor/ControlValue.h"

#include <memory>

namespace tarn {

/// A press goes one step on, and from the end to the beginning; a parameter without steps goes from
/// one end to the other. Key "handle" is a strip, from the first step to the last. Interface
/// thread.
class ControlValueButtonChoice : public ControlValue {
public:
    using ControlValue::ControlValue;

    void importDictionary(const Dictionary& dictionary) override;
    bool handle(Message& message) override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;
    bool takesKeyboard() const override { return testFlags(Editable); }
    bool isButton() const override { return true; }
    void pressAndRelease() override;

protected:
    bool press(const WindowMessage& message) override;
    bool letGo(const WindowMessage& /*message*/) override { return true; }

private:
    std::shared_ptr<Bitmap> handle_;
};

}  // namespace tarn
