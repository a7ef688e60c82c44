#include "editor/ControlValueText.h"

#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"

#include <algorithm>

namespace tarn {

namespace {

constexpr std::int32_t MostMargin = 1024;

}  // namespace

void ControlValueText::importDictionary(const Dictionary& dictionary) {
    ControlValue::importDictionary(dictionary);
    dictionary.getString("prefix", prefix_);
    dictionary.getString("postfix", postfix_);
    const auto readMargin = [&dictionary](const char* key, std::int32_t& margin) {
        dictionary.getInteger(key, margin);
        margin = std::clamp(margin, 0, MostMargin);
    };
    readMargin("marginleft", marginLeft_);
    readMargin("marginright", marginRight_);
    if (std::string edit; dictionary.getString("edit", edit))
        editsOnClick_ = edit == "click";
}

bool ControlValueText::isDraggable() const {
    const Parameter* const parameter = getParameter();
    return !editsOnClick_ && parameter != nullptr && parameter->getType() != Parameter::String;
}

bool ControlValueText::takesKeyboard() const {
    return hasTextEntry();
}

bool ControlValueText::activate() {
    if (!editsOnClick_ || !hasTextEntry())
        return openTextBox();
    editor().setPendingEdit(*this, getAbsoluteRect(), marginLeft_, font_);
    return true;
}

bool ControlValueText::press(const WindowMessage& message) {
    if (isDraggable())
        return ControlValue::press(message);
    setDragging(editsOnClick_ && getParameter() != nullptr);
    return isDragging();
}

bool ControlValueText::drag(const WindowMessage& message) {
    return !isDraggable() || ControlValue::drag(message);
}

bool ControlValueText::letGo(const WindowMessage& message) {
    if (isDraggable())
        return ControlValue::letGo(message);
    setDragging(false);
    if (getLocalRect().contains(message.position))
        activate();
    return true;
}

void ControlValueText::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    const Parameter* const parameter = getParameter();
    if (parameter == nullptr)
        return;
    const Rect local = getLocalRect();
    const Rect room{marginLeft_, 0, local.width() - marginRight_, local.height()};
    drawText(canvas, room, fitted(prefix_ + parameter->getText() + postfix_, room.width()));
}

}  // namespace tarn
