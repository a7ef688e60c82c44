#include "editor/ControlValueLED.h"

#include "editor/BitmapFrame.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"

#include <algorithm>
#include <cmath>

namespace tarn {

void ControlValueLED::importDictionary(const Dictionary& dictionary) {
    hasValueOn_ = dictionary.getFloat("valueon", valueOn_);
    ControlValue::importDictionary(dictionary);
    if (std::string handle; dictionary.getString("handle", handle))
        ledBitmap_ = editor().getBitmap(handle);
    if (ledBitmap_) {
        const Point size = ledBitmap_->getFrameSize();
        setSize({0, 0, size.x, size.y});
    }
}

bool ControlValueLED::handle(Message& message) {
    if (message.type == MessageType::Parameter && message.code == ParameterMessage::ValueChanged) {
        const auto& change = static_cast<const ParameterMessage&>(message);
        if (!change.parameterName.empty() && change.parameterName == parameterName_ &&
            isOwnClone(change))
            follow(change.value);
    }
    return ControlValue::handle(message);
}

void ControlValueLED::refresh() {
    ControlValue::refresh();
    if (const Parameter* const parameter = getParameter())
        follow(parameter->getNormalised());
}

void ControlValueLED::follow(float value) {
    constexpr float LeastStep = 1e-6f;
    float brightness = value > 0.0f ? std::min(value, 1.0f) : 0.0f;
    if (hasValueOn_)
        brightness = std::abs(value - valueOn_) < std::max(step(), LeastStep) * 0.5f ? 1.0f : 0.0f;
    if (brightness == brightness_)
        return;
    brightness_ = brightness;
    setDirty(true);
}

void ControlValueLED::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    if (!ledBitmap_)
        return;
    drawBitmapFrame(canvas, *ledBitmap_, 0);
    canvas.setGlobalAlpha(brightness_);
    drawBitmapFrame(canvas, *ledBitmap_, 1);
    canvas.restoreAlpha();
}

}  // namespace tarn
