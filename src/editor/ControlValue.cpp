#include "editor/ControlValue.h"

#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"
#include "platform/Desktop.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace tarn {

namespace {

constexpr float PositionPerPixel = 0.0025f;
constexpr float DeadZone = 6.0f;  // in pixels
constexpr std::int32_t AxisLock = 6;
constexpr float AcrossFactor = 0.25f;
constexpr float FineFactor = 0.2f;
constexpr float WheelPosition = 0.025f;         // of a notch
constexpr float NotchesPerUnit = 0.008333334f;  // 1 / 120
constexpr float KeyStep = 0.01f;
constexpr float LargeStep = 10.0f;  // so many of the small ones
constexpr float MostDragSpeed = 1e6f;
constexpr std::int32_t MostScalePoints = 1024;

float between(const auto& from, const auto& to, float at, auto x, auto y) {
    const float span = to.*x - from.*x;
    return span == 0.0f ? from.*y : from.*y + (at - from.*x) / span * (to.*y - from.*y);
}

int signOf(float value) {
    return (value > 0.0f) - (value < 0.0f);
}

// Ends that a skin gave the wrong way round mean the same range.
float clampBetween(float value, float a, float b) {
    return std::clamp(value, std::min(a, b), std::max(a, b));
}

// Around the ends, which are one step apart.
float wrapped(float position, float step) {
    constexpr double Slack = 1e-6;
    const double round = 1.0 + step;
    double place = position;
    if (place < 0.0)
        place += std::ceil(-place / round) * round;
    if (place > 1.0 + Slack)
        place -= std::ceil((place - 1.0) / round) * round;
    return static_cast<float>(place);
}

void readFinite(const Dictionary& dictionary, const char* key, float& value) {
    if (float read = 0.0f; dictionary.getFloat(key, read) && std::isfinite(read))
        value = read;
}

}  // namespace

void ControlValue::importDictionary(const Dictionary& dictionary) {
    readFinite(dictionary, "min", minimum_);
    readFinite(dictionary, "max", maximum_);
    dictionary.getBool("stayon", stayOn_);
    dictionary.getBool("wrap", wrap_);
    dictionary.getBool("invert", invert_);
    if (std::string mode; dictionary.getString("mousedown", mode)) {
        if (mode == "drag")
            pressMode_ = PressMode::Drag;
        else if (mode.starts_with("inc"))
            pressMode_ = PressMode::Increment;
    }
    readScaling(dictionary);
    Control::importDictionary(dictionary);
    if (const Parameter* const parameter = getParameter()) {
        if (parameter->getStep() > 1.0)
            dragSpeed_ = static_cast<float>(parameter->getStep()) * 0.5f;
        if (float detent = 0.0f; dictionary.getFloat("detent", detent) && std::isfinite(detent))
            detent_ = detent + 0.5f;
    }
    readFinite(dictionary, "dragspeed", dragSpeed_);
    dragSpeed_ = std::clamp(dragSpeed_, -MostDragSpeed, MostDragSpeed);
}

// Points without a place are spread evenly over the list.
void ControlValue::readScaling(const Dictionary& dictionary) {
    const auto list = dictionary.getArray("scaling");
    const std::int32_t count = list ? std::min(list->count({}), MostScalePoints) : 0;
    scaling_.clear();
    for (std::int32_t i = 0; i < count; ++i) {
        const auto entry = list->getEntry(i);
        if (!entry || !entry->isElement())
            continue;
        ScalePoint point{0.0f, 0.0f};
        readFinite(*entry, "value", point.value);
        readFinite(*entry, "position", point.position);
        scaling_.push_back(point);
    }
    if (scaling_.empty())
        scaling_ = {{minimum_, minimum_}, {maximum_, maximum_}};
    else if (scaling_.size() == 1)
        scaling_.push_back(scaling_.front());  // a line has two ends
    std::sort(scaling_.begin(), scaling_.end());
    const auto last = static_cast<float>(scaling_.size() - 1);
    for (std::size_t i = 0; i < scaling_.size() && last > 0.0f; ++i)
        if (scaling_[i].position == 0.0f)
            scaling_[i].position = static_cast<float>(i) / last;
}

std::shared_ptr<Bitmap> ControlValue::readHandle(const Dictionary& dictionary) {
    std::string id;
    dictionary.getString("handle", id);
    std::shared_ptr<Bitmap> strip = id.empty() ? nullptr : editor().getBitmap(id);
    if (strip && !rect_.hasArea()) {
        const Point size = strip->getFrameSize();
        setSize({0, 0, size.x, size.y});
    }
    return strip;
}

void ControlValue::exportDictionary(Dictionary& dictionary) const {
    dictionary.setFloat("detent", detent_ - 0.5f);
    dictionary.setFloat("dragspeed", dragSpeed_);
    dictionary.setBool("stayon", stayOn_);
    dictionary.setBool("wrap", wrap_);
    Control::exportDictionary(dictionary);
}

// The mapping

float ControlValue::valueAt(float position) const {
    if (position >= scaling_.back().position)
        return scaling_.back().value;
    std::size_t next = 1;
    while (position >= scaling_[next].position)
        ++next;
    return between(scaling_[next - 1], scaling_[next], position, &ScalePoint::position,
                   &ScalePoint::value);
}

float ControlValue::positionOf(float value) const {
    const bool isRising = scaling_.front().value <= scaling_.back().value;
    const auto isBeyond = [isRising, value](const ScalePoint& point) {
        return isRising ? value >= point.value : value <= point.value;
    };
    if (isBeyond(scaling_.back()))
        return std::clamp(scaling_.back().position, 0.0f, 1.0f);
    std::size_t next = 1;
    while (next + 1 < scaling_.size() && isBeyond(scaling_[next]))
        ++next;
    const float position = between(scaling_[next - 1], scaling_[next], value, &ScalePoint::value,
                                   &ScalePoint::position);
    return position > 0.0f ? std::min(position, 1.0f) : 0.0f;
}

float ControlValue::fromPosition(float position) const {
    const float low = valueAt(minimum_), high = valueAt(maximum_);
    if (low == high)
        return minimum_;
    return (valueAt(position) - low) / (high - low) * (maximum_ - minimum_) + minimum_;
}

float ControlValue::toPosition(float normalised) const {
    const float low = valueAt(minimum_), high = valueAt(maximum_);
    if (minimum_ == maximum_)
        return positionOf(low);
    return positionOf((normalised - minimum_) / (maximum_ - minimum_) * (high - low) + low);
}

float ControlValue::getPosition() const {
    const Parameter* const parameter = getParameter();
    const float value = parameter != nullptr
                            ? clampBetween(parameter->getNormalised(), minimum_, maximum_)
                            : privateValue_;
    return toPosition(invert_ ? 1.0f - value : value);
}

void ControlValue::setPosition(float position) {
    if (!std::isfinite(position))
        return;
    if (wrap_)
        position = wrapped(position, step());
    position = std::clamp(position, 0.0f, 1.0f);
    setDirty(true);
    if (Parameter* const parameter = getParameter()) {
        const float value = clampBetween(fromPosition(position), minimum_, maximum_);
        parameter->setNormalised(invert_ ? 1.0f - value : value, FromUser);
    } else {
        privateValue_ = position;
    }
}

float ControlValue::step() const {
    const Parameter* const parameter = getParameter();
    return parameter != nullptr ? static_cast<float>(normalisedStep(*parameter)) : 0.0f;
}

void ControlValue::resetToDefault() {
    setDirty(true);
    if (Parameter* const parameter = getParameter())
        parameter->resetToDefault(FromUser);
}

// What the user does

bool ControlValue::handle(Message& message) {
    if (message.type != MessageType::Window || isInThumbnail())
        return Control::handle(message);
    const auto& event = static_cast<const WindowMessage&>(message);
    const bool isAnswered = testFlags(Editable) && (buttonMask_ & event.button) != 0;
    bool isUsed = false;
    switch (event.code) {
        case WindowMessage::LeftDown:
        case WindowMessage::RightDown:
            isUsed = isAnswered && press(event);
            break;
        case WindowMessage::LeftDouble:  // the second press of a quick pair
            return Control::handle(message) || (isAnswered && press(event));
        case WindowMessage::LeftUp:
        case WindowMessage::RightUp:
            isUsed = letGo(event);
            break;
        case WindowMessage::MouseDrag:
            isUsed = isDragging_ && drag(event);
            break;
        case WindowMessage::Wheel:
        case WindowMessage::WheelOther:
            isUsed = turn(event);
            break;
        case WindowMessage::KeyPress:
            isUsed = pressKey(event);
            break;
        default:
            break;
    }
    return isUsed || Control::handle(message);
}

bool ControlValue::press(const WindowMessage& message) {
    if ((message.modifiers & WindowMessage::Control) != 0 && getParameter() != nullptr) {
        resetToDefault();
        return true;
    }
    const auto alive = editor().life();
    if (pressMode_ == PressMode::Increment)
        setPosition(getPosition() + step());
    if (alive.expired())
        return true;
    platform::setCursor(platform::CursorShape::Move);
    dragAnchor_ = message.position;
    dragStart_ = getPosition();
    isDragging_ = true;
    setDirty(true);
    return true;
}

bool ControlValue::letGo(const WindowMessage& /*message*/) {
    platform::setCursor(platform::CursorShape::Arrow);
    dragAnchor_ = {};
    isDragging_ = false;
    if (testFlags(AutoReset))
        resetToDefault();
    return true;
}

bool ControlValue::drag(const WindowMessage& message) {
    Point by = message.position - dragAnchor_;
    if (const int x = std::abs(by.x), y = std::abs(by.y); x > AxisLock || y > AxisLock)
        (x > y ? by.y : by.x) = 0;
    const bool isHorizontal = testFlags(HorizontalLayout);
    const auto x = static_cast<float>(by.x) * (isHorizontal ? 1.0f : AcrossFactor);
    const auto y = static_cast<float>(by.y) * (isHorizontal ? AcrossFactor : 1.0f);
    float pixels = withoutDeadZone(x - y);
    if ((message.modifiers & WindowMessage::Shift) != 0)
        pixels *= FineFactor;
    const float scale = dragSpeed_ * PositionPerPixel;
    setPosition(draggedTo(scale * pixels, scale * DeadZone));
    return true;
}

float ControlValue::withoutDeadZone(float pixels) {
    return pixels < 0.0f ? std::min(pixels + DeadZone, 0.0f) : std::max(pixels - DeadZone, 0.0f);
}

float ControlValue::draggedTo(float by, float hold) const {
    const float target = by + dragStart_;
    const bool isCrossed = signOf(dragStart_ - detent_) != signOf(target - detent_);
    if (!isCrossed || !(std::abs(dragStart_ - detent_) > hold))
        return target;
    if (target < detent_)
        return std::min(target + hold, detent_);
    return std::max(target - hold, detent_);
}

bool ControlValue::turn(const WindowMessage& message) {
    if (!testFlags(Editable))
        return false;
    const auto delta = static_cast<float>(fromPayload<std::int32_t>(message.payload));
    float by = dragSpeed_ * WheelPosition * delta * NotchesPerUnit;
    if (const float least = step(); std::abs(by) < least)
        by = static_cast<float>(signOf(by)) * least;
    setPosition(getPosition() + by);
    return true;
}

bool ControlValue::takesKeyboard() const {
    return canBeStepped();
}

// By keys.
bool ControlValue::canBeStepped() const {
    const Parameter* const parameter = getParameter();
    return parameter != nullptr && parameter->hasFlag(Parameter::Automatable) &&
           testFlags(Editable);
}

bool ControlValue::pressKey(const WindowMessage& message) {
    if (!canBeStepped())
        return false;
    float by = step();
    if (by == 0.0f)
        by = KeyStep;
    switch (message.keyCode) {
        case WindowMessage::PageUpKey:
        case WindowMessage::PageDownKey:
            by *= LargeStep;
            break;
        case WindowMessage::UpKey:
        case WindowMessage::RightKey:
        case WindowMessage::DownKey:
        case WindowMessage::LeftKey:
            if ((message.modifiers & WindowMessage::Shift) != 0)
                by *= LargeStep;
            break;
        default:
            return false;
    }
    const bool isUp = message.keyCode == WindowMessage::UpKey ||
                      message.keyCode == WindowMessage::RightKey ||
                      message.keyCode == WindowMessage::PageUpKey;
    setPosition(getPosition() + (isUp ? by : -by));
    return true;
}

}  // namespace tarn
