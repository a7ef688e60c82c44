#include "editor/ControlValueDisplay.h"

#include "foundation/Dictionary.h"
#include "parameters/ParameterEnum.h"
#include "parameters/ParameterValue.h"

#include <algorithm>

namespace tarn {

namespace {

constexpr std::int32_t MostDigits = 64;

std::int32_t placesOf(std::int32_t value) {
    return static_cast<std::int32_t>(std::to_string(value).size());
}

}  // namespace

void ControlValueDisplay::importDictionary(const Dictionary& dictionary) {
    ControlValue::importDictionary(dictionary);
    const Parameter* const parameter = getParameter();
    if (const auto* const value = dynamic_cast<const ParameterValue<std::int32_t>*>(parameter))
        digits_ = std::max(placesOf(value->getMinimum()), placesOf(value->getMaximum()));
    else if (parameter != nullptr)
        digits_ = placesOf(std::max(parameter->getStepCount() - 1, 0));
    dictionary.getInteger("digits", digits_);
    digits_ = std::clamp(digits_, 0, MostDigits);
    dictionary.getInteger("minval", minValue_);
    dictionary.getInteger("maxval", maxValue_);
}

std::string ControlValueDisplay::text() const {
    const Parameter* const parameter = getParameter();
    std::int32_t value = 0;
    if (const auto* const number = dynamic_cast<const ParameterValue<std::int32_t>*>(parameter)) {
        value = number->getValue();
    } else if (const auto* const choice =
                   dynamic_cast<const ParameterEnum<std::int32_t>*>(parameter)) {
        value = choice->getValue();
        if (value == 0)
            return std::string(static_cast<std::size_t>(digits_), '-');
    } else {
        return {};
    }
    value = std::max(minValue_, std::min(value, maxValue_));
    const bool isNegative = value < 0;
    std::string number = std::to_string(value).substr(isNegative ? 1 : 0);
    const auto places = static_cast<std::size_t>(std::max(digits_ - (isNegative ? 1 : 0), 0));
    if (number.size() < places)
        number.insert(0, places - number.size(), '0');
    return isNegative ? "-" + number : number;
}

void ControlValueDisplay::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    drawText(canvas, getLocalRect(), text());
}

}  // namespace tarn
