#include "editor/ControlValueText.h"

#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"

namespace tarn {

void ControlValueText::importDictionary(const Dictionary& dictionary) {
    ControlValue::importDictionary(dictionary);
    dictionary.getString("prefix", prefix_);
    dictionary.getString("postfix", postfix_);
    if (std::string edit; dictionary.getString("edit", edit))
        editsOnClick_ = edit == "click";
}

bool ControlValueText::isDraggable() const {
    const Parameter* const parameter = getParameter();
    return !editsOnClick_ && parameter != nullptr && parameter->getType() != Parameter::String;
}

bool ControlValueText::press(const WindowMessage& message) {
    return isDraggable() ? ControlValue::press(message)
                         : editsOnClick_ && getParameter() != nullptr;
}

bool ControlValueText::drag(const WindowMessage& message) {
    return isDraggable() && ControlValue::drag(message);
}

bool ControlValueText::letGo(const WindowMessage& message) {
    if (isDraggable())
        return ControlValue::letGo(message);
    if (editsOnClick_ && getLocalRect().contains(message.position))
        editor().setPendingEdit(*this, getAbsoluteRect());
    return true;
}

void ControlValueText::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    if (const Parameter* const parameter = getParameter())
        drawText(canvas, getLocalRect(), prefix_ + parameter->getText() + postfix_);
}

}  // namespace tarn
