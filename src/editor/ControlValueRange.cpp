#include "editor/ControlValueRange.h"

#include "editor/BitmapFrame.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "parameters/ParameterValue.h"

#include <algorithm>
#include <cmath>

namespace tarn {

ControlValueRange::ControlValueRange(Editor& editor) : ControlValue(editor) {
    setFlags(ClickThrough);
    clearFlags(Editable | TextEntry);
}

void ControlValueRange::importDictionary(const Dictionary& dictionary) {
    ControlValue::importDictionary(dictionary);
    handleBitmap_ = readHandle(dictionary);
    std::string text;
    if (bool isHorizontal = false; dictionary.getBool("horizontal", isHorizontal))
        vertical_ = !isHorizontal;
    if (dictionary.getString("direction", text)) {
        if (text == "min2max")
            growth_ = Growth::MinToMax;
        else if (text == "max2min")
            growth_ = Growth::MaxToMin;
        else if (text == "centered")
            growth_ = Growth::Centered;
    }
}

Rect ControlValueRange::filled() const {
    const Rect local = getLocalRect();
    const std::int32_t length = vertical_ ? local.height() : local.width();
    const auto* const parameter = dynamic_cast<const ParameterValue<float>*>(getParameter());
    const float value =
        handleBitmap_ && parameter != nullptr ? parameter->getValue() : getPosition();
    // From the lower or the left end.
    const bool isFromMax = growth_ == Growth::MaxToMin;
    const std::int32_t fixed = growth_ == Growth::Centered ? length / 2 : (isFromMax ? length : 0);
    const bool isUp = growth_ == Growth::Centered ? value >= 0.0f : !isFromMax;
    const std::int32_t grown =
        partOf(isUp ? length - fixed : fixed, std::min(std::abs(value), 1.0f));
    const std::int32_t from = isUp ? fixed : fixed - grown, to = isUp ? fixed + grown : fixed;
    return vertical_ ? Rect{0, length - to, local.width(), length - from}
                     : Rect{from, 0, to, local.height()};
}

void ControlValueRange::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    const Rect part = filled();
    if (handleBitmap_) {
        canvas.drawBitmap(*handleBitmap_, part, part);
        return;
    }
    canvas.setFillColor(Color(1.0f, 0.0f, 0.0f, 1.0f));
    canvas.fillRect(part);
    canvas.setPenColor(Color());
    canvas.frameRect(getLocalRect());
    canvas.selectFont(font_);
    canvas.setTextColor(Color());
    canvas.drawText(getLabel(), getLocalRect(), Font::CenteredLine);
}

}  // namespace tarn
