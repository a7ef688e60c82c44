// Shows a parameter's text, which the user may edit in place.
#pragma once

#include "editor/ControlValue.h"

#include <cstdint>
#include <string>

namespace tarn {

/// Shows nothing without a parameter; a text without enough room is cut, with "…" at its end. With
/// the key "edit" of "click" a click opens the box for a new text, in place of a double click, and
/// no drag changes the value; parameters that are texts aren't dragged in any case. Interface
/// thread.
class ControlValueText : public ControlValue {
public:
    using ControlValue::ControlValue;

    void importDictionary(const Dictionary& dictionary) override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;
    bool takesKeyboard() const override;
    bool activate() override;

protected:
    bool press(const WindowMessage& message) override;
    bool drag(const WindowMessage& message) override;
    bool letGo(const WindowMessage& message) override;

private:
    bool isDraggable() const;

    std::string prefix_;
    std::string postfix_;
    std::int32_t marginLeft_ = 0;  // between the text and the edges
    std::int32_t marginRight_ = 0;
    bool editsOnClick_ = false;
};

}  // namespace tarn
