#include "parameters/ParameterValue.h"

#include "foundation/Dictionary.h"
#include "foundation/NumberText.h"
#include "foundation/Preferences.h"
#include "parameters/DisplayMapper.h"
#include "parameters/Settings.h"
#include "parameters/TypedValue.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace tarn {

namespace {

constexpr double NoStep = std::numeric_limits<double>::epsilon();
constexpr double SmallestStep = std::numeric_limits<float>::epsilon();
constexpr double MostShownSteps = 8888.0;  // a display value of more isn't put on a step
constexpr float LogarithmicBase = 32.0f;
constexpr float EndOfRatio = 0.99f;  // from there on it is shown as infinite
constexpr int MostDecimals = 16;

constexpr std::int32_t LowestInteger = std::numeric_limits<std::int32_t>::lowest();
constexpr std::int32_t HighestInteger = std::numeric_limits<std::int32_t>::max();

double inDecibels(double amplitude) {
    return 20.0 * std::log(amplitude) / std::log(10.0);
}

// As the processor converts: what no integer can hold becomes the lowest one.
std::int32_t toInteger(double value) {
    const bool fits = value >= LowestInteger && value <= HighestInteger;
    return fits ? static_cast<std::int32_t>(value) : LowestInteger;
}

// Without its fraction, where rounding left it less than `slack` below the next integer too.
double cutToInteger(double value, double slack) {
    const double nearest = std::round(value);
    return std::abs(value - nearest) <= slack ? nearest : std::trunc(value);
}

// What double arithmetic may leave between a number and the integer that it stands for.
double slackOf(double value) {
    return 1e-9 * std::max(std::abs(value), 1.0);
}

std::string wholeNumber(double value) {
    return toFixedText(std::round(value) + 0.0, 0);  // never "-0"
}

template <typename T>
std::int32_t indexIn(std::initializer_list<std::string_view> names, const T& name) {
    const auto found = std::find(names.begin(), names.end(), name);
    return found != names.end() ? static_cast<std::int32_t>(found - names.begin()) : -1;
}

// Whether the definition asks for steps whatever the settings say, which only an element of that
// form does: <integer name="steps" mode="always"/>.
bool stepsAreForAlways(const Dictionary& dictionary) {
    for (std::int32_t i = 0; i < dictionary.count("integer"); ++i) {
        const auto element = dictionary.getEntry(i, "integer");
        if (element->getAttribute("name") == "steps")
            return element->getAttribute("mode") == "always";
    }
    return false;
}

}  // namespace

template <ParameterNumber T>
ParameterValue<T>::ParameterValue(Radio* parent, std::string id, std::string name, T minimum,
                                  T maximum, T defaultValue)
    : Parameter(parent, std::move(id), std::move(name)),
      value_(defaultValue),
      minimum_(minimum),
      maximum_(maximum),
      default_(defaultValue),
      displayMinimum_(static_cast<float>(minimum)),
      displayMaximum_(static_cast<float>(maximum)) {}

template <ParameterNumber T>
ParameterValue<T>::ParameterValue(const ParameterValue& other) = default;

template <ParameterNumber T>
void ParameterValue<T>::start() {
    const auto preferences = openPreferences(Preferences::Read);
    if (T value{}; preferences && getTyped(*preferences, getId(), value))
        setValue(value, FromInternal);
}

template <ParameterNumber T>
void ParameterValue<T>::stop() {
    if (const auto preferences = openPreferences(Preferences::Write))
        setTyped(*preferences, getId(), getValue());
}

template <ParameterNumber T>
float ParameterValue<T>::span() const {
    return static_cast<float>(getMaximum()) - static_cast<float>(getMinimum());
}

template <ParameterNumber T>
float ParameterValue<T>::getNormalised() const {
    const auto minimum = static_cast<float>(getMinimum());
    const float range = static_cast<float>(getMaximum()) - minimum;
    const float above = static_cast<float>(getValue()) - minimum;
    return range != 0.0f && std::isfinite(range) ? above / range : 0.0f;
}

template <ParameterNumber T>
void ParameterValue<T>::setNormalised(float normalised, std::int32_t source) {
    if (!std::isfinite(normalised))
        return;
    const T minimum = getMinimum();
    if constexpr (std::same_as<T, float>)
        setValue((getMaximum() - minimum) * normalised + minimum, source);
    else
        setValue(toPlain((static_cast<double>(getMaximum()) - minimum) * normalised + minimum),
                 source);
}

template <ParameterNumber T>
void ParameterValue<T>::setFloat(float value, std::int32_t source) {
    if (std::isfinite(value))
        setValue(toPlain(value), source);
}

// A normalised value has 24 bits, so that an integer may come back a little below itself.
template <ParameterNumber T>
T ParameterValue<T>::toPlain(double value) const {
    if constexpr (std::same_as<T, bool>) {
        return value >= 0.5;
    } else if constexpr (std::same_as<T, float>) {
        return static_cast<float>(value);
    } else {
        const double slack = std::abs(static_cast<double>(span())) * SmallestStep;
        const double whole = cutToInteger(value, std::min(slack, 0.5));
        return static_cast<T>(std::clamp<double>(whole, LowestInteger, HighestInteger));
    }
}

template <ParameterNumber T>
void ParameterValue<T>::setValue(T value, std::int32_t source) {
    if constexpr (std::same_as<T, float>)
        if (!std::isfinite(value))
            return;
    const auto [low, high] = std::minmax({getMinimum(), getMaximum()});
    value = std::clamp(onStep(std::clamp(value, low, high)), low, high);
    if constexpr (std::same_as<T, float>)
        if (std::abs(value) < std::numeric_limits<float>::min())
            value = 0.0f;
    if (!takes(value != value_))
        return;
    value_ = value;
    announce(source, toPayload(value));
}

template <ParameterNumber T>
T ParameterValue<T>::onStep(T value) const {
    if constexpr (std::same_as<T, bool>) {
        return value;
    } else {
        // Every integer is on the steps that integers have by themselves, and on a step of 1.
        if (std::same_as<T, std::int32_t> && step_ == 0.0f)
            return value;
        const double step = getStep();
        if (std::same_as<T, std::int32_t> && step == 1.0)
            return value;
        if (!(step > SmallestStep) || std::isinf(step))
            return std::isinf(step) ? getMinimum() : value;
        const double minimum = getMinimum();
        const double stepped = minimum + std::round((value - minimum) / step) * step;
        if constexpr (std::same_as<T, float>)
            return static_cast<float>(stepped);
        else
            return static_cast<T>(std::clamp<double>(cutToInteger(stepped, slackOf(stepped)),
                                                     LowestInteger, HighestInteger));
    }
}

template <ParameterNumber T>
bool ParameterValue<T>::isStepped() const {
    if (stepsAlways_)
        return true;
    const Settings* const section = settings();
    return section != nullptr && section->usesSteps();
}

template <ParameterNumber T>
double ParameterValue<T>::getStep() const {
    if (!isStepped())
        return NoStep;
    if constexpr (std::same_as<T, bool>) {
        return 1.0;
    } else {
        const float step = step_;
        if constexpr (std::same_as<T, std::int32_t>)
            if (step == 0.0f) {
                const double steps = static_cast<double>(getMaximum()) - getMinimum();
                return steps > 0.0 ? 1.0 / steps : 0.0;
            }
        return step;
    }
}

template <ParameterNumber T>
std::int32_t ParameterValue<T>::getStepCount() const {
    if (!isStepped())
        return LowestInteger;
    if constexpr (std::same_as<T, bool>) {
        return 2;
    } else {
        const double step = step_;
        if constexpr (std::same_as<T, std::int32_t>)
            if (step == 0.0)
                return toInteger(static_cast<double>(getMaximum()) - getMinimum() + 1.0);
        return toInteger(std::round(1.0 / step));
    }
}

template <ParameterNumber T>
std::int32_t ParameterValue<T>::getType() const {
    if constexpr (std::same_as<T, bool>)
        return Bool;
    else if constexpr (std::same_as<T, float>)
        return Float;
    else
        return Integer;
}

template <ParameterNumber T>
float ParameterValue<T>::getCurved() const {
    const double range = span();
    const double base = curveBase_;
    const double value = getValue();
    const double minimum = getMinimum();
    switch (curve_) {
        case 1:
            return static_cast<float>((std::pow(base, value) - 1.0) * range / (base - 1.0) +
                                      minimum);
        case 2:
            return static_cast<float>(
                std::log((base - 1.0) * value + 1.0) * range / std::log(base) + minimum);
        default:
            return getNormalised() * span() + static_cast<float>(getMinimum());
    }
}

template <ParameterNumber T>
void ParameterValue<T>::setCurve(std::int32_t curve, float base) {
    curve_ = curve;
    curveBase_ = base;
}

template <ParameterNumber T>
void ParameterValue<T>::setDisplayRange(float minimum, float maximum) {
    setDisplayMinimum(minimum);
    setDisplayMaximum(maximum);
}

template <ParameterNumber T>
void ParameterValue<T>::setMinimum(T minimum) {
    if (std::isfinite(static_cast<float>(minimum)))
        minimum_ = minimum;
}

template <ParameterNumber T>
void ParameterValue<T>::setMaximum(T maximum) {
    if (std::isfinite(static_cast<float>(maximum)))
        maximum_ = maximum;
}

template <ParameterNumber T>
void ParameterValue<T>::setRange(T minimum, T maximum, std::int32_t source) {
    setMinimum(minimum);
    setMaximum(maximum);
    setValue(getValue(), source);
}

template <ParameterNumber T>
double ParameterValue<T>::scaled(double normalised) const {
    const double low = displayMinimum_;
    const double high = displayMaximum_;
    switch (displayScaling_) {
        case Logarithmic:
            return std::pow(low, (std::log(high) / std::log(low) - 1.0) * normalised + 1.0);
        case Exponential: {
            const double base = displayBase_;
            return std::log((base - 1.0) * normalised + 1.0) * (high - low) / std::log(base) + low;
        }
        case Decibels:
            return inDecibels(double{span()} * normalised + getMinimum());
        default:
            return (high - low) * normalised + low;
    }
}

template <ParameterNumber T>
float ParameterValue<T>::toDisplayValue(float normalised) const {
    if (displayScaling_ == Feedback) {
        DisplayMapper* const feedback = feedback_;
        return feedback != nullptr ? feedback->toDisplay(this, normalised) : 0.0f;
    }
    double shown = scaled(normalised);
    const double step = getStep();
    if (step != 0.0 && std::isfinite(step) && std::abs(shown / step) < MostShownSteps) {
        shown = std::round(shown / step) * step;
        if constexpr (std::same_as<T, std::int32_t>)
            shown = cutToInteger(shown, slackOf(shown));
    }
    return static_cast<float>(shown);
}

template <ParameterNumber T>
void ParameterValue<T>::setDisplayValue(float displayValue, std::int32_t source) {
    const double shown = displayValue;
    const double low = displayMinimum_;
    const double high = displayMaximum_;
    double normalised = 0.0;
    switch (displayScaling_) {
        case Logarithmic:
            normalised =
                (std::log(shown) / std::log(low) - 1.0) / (std::log(high) / std::log(low) - 1.0);
            break;
        case Exponential: {
            const double base = displayBase_;
            normalised = (std::pow(base, shown / (high - low)) - 1.0) / (base - 1.0);
            break;
        }
        case Feedback: {
            DisplayMapper* const feedback = feedback_;
            normalised = feedback != nullptr ? feedback->toNormalised(this, displayValue) : 0.0f;
            break;
        }
        default:
            normalised = (shown - low) / (high - low);
    }
    setNormalised(static_cast<float>(normalised), source);
}

// So many decimals that `nrdigits` digits are shown, at most `precision`.
template <ParameterNumber T>
int ParameterValue<T>::placesFor(double shown) const {
    const double places = digits_ - std::floor(std::log10(std::abs(shown)) + 1.000001);
    const double most = std::clamp(precision_.get(), 0, MostDecimals);
    return std::isnan(places) ? 0 : static_cast<int>(std::clamp(places, 0.0, most));
}

template <ParameterNumber T>
std::string ParameterValue<T>::getText() const {
    const float normalised = getNormalised();
    double shown = getDisplayValue();
    const int places = placesFor(shown);
    const double leastShown = std::pow(0.1, places);
    switch (displayType_) {
        case Pan:
            if (!(std::abs(shown) >= leastShown))
                return "center";
            return (shown < 0.0 ? "L " : "R ") + wholeNumber(std::abs(shown) * 100.0) + "%";
        case Mix:
            return wholeNumber(-displayMinimum_ * (1.0 - normalised)) + "/" +
                   wholeNumber(displayMaximum_ * normalised);
        case Ratio:
            if (normalised > EndOfRatio)
                return "oo:1";
            return toFixedText(1.0 / (1.0 - normalised), placesFor(1.0 / double{normalised})) +
                   ":1";
        default:
            if (std::isinf(shown))
                return shown > 0.0 ? "oo" : "-oo";
            if (std::abs(shown) < leastShown)
                shown = std::abs(shown);
            return toFixedText(shown, places);
    }
}

template <ParameterNumber T>
bool ParameterValue<T>::setText(const std::string& text, std::int32_t source) {
    if (displayType_ == Pan || displayType_ == Mix)
        return true;
    if (displayType_ == Ratio) {
        constexpr std::string_view One = "1:";
        float ratio = 1.0f;
        readNumber(std::string_view(text).substr(text.starts_with(One) ? One.size() : 0), ratio);
        setNormalised(1.0f - 1.0f / ratio, source);
        return true;
    }
    std::conditional_t<std::same_as<T, float>, float, std::int32_t> number{};
    if (!readNumber(text, number))
        return false;
    setDisplayValue(static_cast<float>(static_cast<T>(number)), source);
    return true;
}

template <ParameterNumber T>
void ParameterValue<T>::read(const Dictionary& dictionary) {
    Parameter::read(dictionary);
    if (std::int32_t steps = 0; dictionary.getInteger("steps", steps))
        step_ = span() / (static_cast<float>(steps) - 1.0f);
    if (stepsAreForAlways(dictionary))
        stepsAlways_ = true;
    if (std::string unit; dictionary.getString("unit", unit))
        setUnit(unit);
    if (const auto display = dictionary.find("display"))
        readDisplay(*display);
    if (T value{}; getTyped(dictionary, "value", value))
        setValue(value, FromLoad);
}

template <ParameterNumber T>
void ParameterValue<T>::readDisplay(const Dictionary& display) {
    std::string text;
    if (display.getString("scaling", text))
        if (const auto scaling =
                indexIn({"linear", "logarithmic", "exponential", "feedback", "dB"}, text);
            scaling >= 0)
            displayScaling_ = scaling;
    if (display.getString("type", text))
        if (const auto type = indexIn({"scalar", "pan", "mix", "ratio"}, text); type >= 0)
            displayType_ = type;

    float low = static_cast<float>(getMinimum());
    float high = static_cast<float>(getMaximum());
    if (displayScaling_ == Decibels) {
        low = static_cast<float>(inDecibels(low));
        high = static_cast<float>(inDecibels(high));
    }
    display.getFloat("min", low);
    display.getFloat("max", high);
    setDisplayRange(low, high);

    // The formulas use the base for exponential scales only, and there it can't be chosen.
    if (displayScaling_ == Exponential || displayScaling_ == Logarithmic)
        displayBase_ = LogarithmicBase;
    if (float base = 0.0f; displayScaling_ == Logarithmic && display.getFloat("base", base))
        displayBase_ = base;
    if (std::int32_t precision = 0; display.getInteger("precision", precision))
        precision_ = precision;
    if (std::int32_t digits = 0; display.getInteger("nrdigits", digits))
        digits_ = digits;
}

template <ParameterNumber T>
void ParameterValue<T>::write(Dictionary& dictionary) const {
    setTyped(dictionary, stateKey(getId()), getValue(), getClone());
}

template <ParameterNumber T>
bool ParameterValue<T>::receive(Message& message) {
    if (message.type != MessageType::Parameter)
        return false;
    const auto& change = static_cast<ParameterMessage&>(message);
    switch (change.code) {
        case ParameterMessage::ValueChanged:
            setNormalised(change.value, change.mode);
            break;
        case ParameterMessage::ResetToDefault:
            setValue(default_, change.mode);
            break;
        case ParameterMessage::StoreSecondary:
            if constexpr (std::same_as<T, bool>)
                setSecondary(fromPayload<std::uint8_t>(change.payload) != 0);
            else
                setSecondary(fromPayload<T>(change.payload));
            break;
        default:
            break;
    }
    return false;
}

template <ParameterNumber T>
void ParameterValue<T>::fill(Announcement& announcement) const {
    announcement.message.payload = toPayload(getValue());
    announcement.message.value = getNormalised();
}

template class ParameterValue<bool>;
template class ParameterValue<std::int32_t>;
template class ParameterValue<float>;

}  // namespace tarn
