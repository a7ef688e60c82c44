#include "editor/ControlValueButton.h"

#include "drawing/Canvas.h"
#include "editor/BitmapFrame.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <random>
#include <utility>

namespace tarn {

namespace {

constexpr std::uint32_t BlinkTimer = 0x43564262;
constexpr float LeastBlinkFrequency = 0.1f, MostBlinkFrequency = 20.0f;
constexpr float SteppedDragSpeed = 0.25f;
constexpr float LargeStep = 0.1f;  // from here on a drag would be too quick
constexpr std::int32_t PlainInset = 2;

std::int32_t randomSpread() {
    std::random_device random;
    return std::uniform_int_distribution<std::int32_t>(95, 105)(random);
}

std::atomic<ControlValueButton::BlinkSpread> blinkSpread{randomSpread};

bool isNear(float a, float b) {
    constexpr float Slack = 1e-5f;
    return std::abs(a - b) <= Slack * std::max({1.0f, std::abs(a), std::abs(b)});
}

// A key may hold a value or the name of an image.
bool looksLikeValue(const std::string& text) {
    return text == "true" || text == "false" ||
           (!text.empty() && text.find_first_not_of("0123456789+-.eE") == std::string::npos);
}

}  // namespace

void ControlValueButton::setBlinkSpread(BlinkSpread spread) {
    blinkSpread = spread != nullptr ? spread : randomSpread;
}

// What the skin says

void ControlValueButton::importDictionary(const Dictionary& dictionary) {
    ControlValue::importDictionary(dictionary);
    if (float speed = 0.0f; !dictionary.getFloat("dragspeed", speed) && step() > LargeStep)
        dragSpeed_ = SteppedDragSpeed;
    clearFlags(TextEntry);  // two quick clicks are two clicks
    readImages(dictionary);
    readValues(dictionary);
    readBlinking(dictionary);
    dictionary.getBool("focuswhenoff", glowsWhenOff_);
    dictionary.getBool("focuswhenon", glowsWhenOn_);
    dictionary.getBool("pushbutton", isPush_);
    dictionary.getBool("latchbutton", isLatch_);
    dictionary.getString("text", text_);
    textOn_ = text_;
    dictionary.getString("texton", textOn_);
    std::string text;
    if (Color color; dictionary.getString("textcoloron", text) && color.parse(text))
        textColorOn_ = color;
}

void ControlValueButton::readImages(const Dictionary& dictionary) {
    static constexpr std::pair<const char*, Picture> Keys[] = {
        {"off", Off},       {"on", On},     {"up", Up},      {"down", Down},
        {"downon", DownOn}, {"over", Over}, {"blink", Blink}};
    std::string id;
    if (dictionary.getString("handle", id))
        if (const auto strip = editor().getBitmap(id)) {
            const std::int32_t frames = std::min(strip->getFrameCount(), 3);
            for (const Picture picture : {Off, On, Over})
                if (const auto index = picture == Over ? 2 : static_cast<std::int32_t>(picture);
                    index < frames)
                    images_[picture] = {strip, index};
            if (frames == 3) {
                enableFade();
                glowsWhenOff_ = true;
            }
        }
    for (const auto& [key, picture] : Keys)
        if (dictionary.getString(key, id))
            if (auto bitmap = editor().getBitmap(id)) {
                images_[picture] = {std::move(bitmap), 0};
                glowsWhenOff_ = glowsWhenOff_ || picture == Over;
            }
    if (rect_.hasArea())
        return;
    Rect size;
    for (const Image& image : images_)
        if (image.bitmap)
            size = size.unitedWith(frameOf(*image.bitmap));
    Control::setPosition(size.movedBy(rect_.topLeft()));
}

void ControlValueButton::readValues(const Dictionary& dictionary) {
    for (const auto& [key, value] : {std::pair("on", &onValue_), {"off", &offValue_}}) {
        std::string text;
        bool isTrue = false;
        float number = 0.0f;
        if (dictionary.getString(key, text) && !looksLikeValue(text))
            continue;
        if (text.empty() || text == "true" || text == "false") {
            // Where the text's type is told, a number is no text and no switch.
            if (dictionary.getBool(key, isTrue))
                *value = isTrue ? 1.0f : 0.0f;
            if (!text.empty())
                continue;
        }
        if (dictionary.getFloat(key, number) && std::isfinite(number))
            *value = number;
        else if (std::int32_t whole = 0; dictionary.getInteger(key, whole))
            *value = static_cast<float>(whole);
    }
}

void ControlValueButton::readBlinking(const Dictionary& dictionary) {
    dictionary.getBool("blink", blinks_);
    blinks_ = blinks_ || images_[Blink].bitmap != nullptr;
    if (float read = 0.0f; dictionary.getFloat("blinkfreq", read) && read > 0.0f)
        blinkFrequency_ = std::clamp(read, LeastBlinkFrequency, MostBlinkFrequency);
    blinkFrequency_ *= static_cast<float>(blinkSpread.load()()) * 0.01f;
    if (!blinks_)
        return;
    const TimerMessage tick(nullptr, TimerMessage::Tick, BlinkTimer, 0);
    blinkTimer_ =
        std::make_unique<Timer>(this, &tick, 1000.0 / static_cast<double>(blinkFrequency_), false);
    tuneIn(blinkTimer_.get());
}

// The value

bool ControlValueButton::isAt(bool isOn) const {
    const Parameter* const parameter = getParameter();
    if (parameter == nullptr)
        return (getPosition() >= 0.5f) == isOn;
    if (const std::optional<float>& value = isOn ? onValue_ : offValue_)
        return isNear(parameter->getFloat(), *value);
    return isNear(parameter->getNormalised(), isOn ? 1.0f : 0.0f);
}

void ControlValueButton::setOn(bool isOn, std::int32_t source) {
    Parameter* const parameter = getParameter();
    setDirty(true);
    if (parameter == nullptr)
        setPosition(isOn ? 1.0f : 0.0f);
    else if (const std::optional<float>& value = isOn ? onValue_ : offValue_)
        parameter->setFloat(*value, source);
    else
        parameter->setNormalised(isOn ? 1.0f : 0.0f, source);
}

std::int32_t ControlValueButton::getOnInteger() const {
    constexpr float Most = 1e6f;
    return static_cast<std::int32_t>(std::clamp(onValue_.value_or(0.0f), -Most, Most));
}

// What the user does

bool ControlValueButton::handle(Message& message) {
    if (message.type == MessageType::Timer &&
        static_cast<const TimerMessage&>(message).timerId == BlinkTimer) {
        if (blinkTimer_ && blinkTimer_->isRunning()) {
            blinkPhase_ = !blinkPhase_;
            setDirty(true);
        }
        return true;
    }
    if (message.type == MessageType::Parameter) {
        const bool isUsed = ControlValue::handle(message);
        const auto& change = static_cast<const ParameterMessage&>(message);
        if (change.parameterName == parameterName_ && !parameterName_.empty()) {
            if (!isOn())
                followBlinking(false);
            else if (change.mode == FromUser)
                followBlinking(true);
        }
        return isUsed;
    }
    if (message.type != MessageType::Window || isInThumbnail())
        return ControlValue::handle(message);
    switch (message.code) {
        case WindowMessage::MouseDrag:
            return isPressed_;
        case WindowMessage::ControlEnter:
        case WindowMessage::ControlExit: {
            const bool isUsed = ControlValue::handle(message);
            isInside_ = isPressed_ && (isPush_ || message.code == WindowMessage::ControlEnter);
            setDirty(true);
            return isUsed;
        }
        case WindowMessage::LeftUp:
        case WindowMessage::RightUp:
            return isPressed_ && letGo(static_cast<const WindowMessage&>(message));
        default:
            return ControlValue::handle(message);
    }
}

bool ControlValueButton::press(const WindowMessage& /*message*/) {
    if (stayOn_ && isOn())
        return false;
    hold();
    if (isPush_ || isLatch_)
        setOn(isAt(false), FromUser);
    return true;
}

void ControlValueButton::hold() {
    const Parameter* const parameter = getParameter();
    isPressed_ = isInside_ = true;
    previousValue_ = parameter != nullptr ? parameter->getFloat() : getPosition();
    followBlinking(true);
    setDirty(true);
}

bool ControlValueButton::stopHolding() {
    isPressed_ = false;
    setDirty(true);
    return std::exchange(isInside_, false);
}

// What is set may end the control.
bool ControlValueButton::letGo(const WindowMessage& /*message*/) {
    const auto alive = editor().life();
    const bool wasInside = stopHolding();
    if (isPush_)
        putBack();
    else if (wasInside && !isLatch_)
        click();
    if (!alive.expired() && testFlags(AutoReset))
        setOn(false, FromInternal);
    if (!alive.expired())
        followBlinking(isOn());
    return true;
}

void ControlValueButton::putBack() {
    if (Parameter* const parameter = getParameter())
        parameter->setFloat(previousValue_, FromUser);
    else
        setPosition(previousValue_);
}

void ControlValueButton::click() {
    setOn(isAt(false), FromUser);
}

void ControlValueButton::pressAndRelease() {
    const auto alive = editor().life();
    const WindowMessage at(nullptr, WindowMessage::LeftDown, nullptr);
    if (press(at) && !alive.expired())
        letGo(at);
}

void ControlValueButton::refresh() {
    ControlValue::refresh();
    followBlinking(isOn());
}

void ControlValueButton::suspend() {
    if (blinkTimer_)
        blinkTimer_->stop(false);
    blinkPhase_ = false;
}

void ControlValueButton::followBlinking(bool isBlinking) {
    if (!blinkTimer_ || !editor().isOpen())
        return;
    if (isBlinking) {
        blinkTimer_->start();
        return;
    }
    blinkTimer_->stop(false);
    blinkPhase_ = false;
    setDirty(true);
}

// Drawing

// The first of these that the skin has; null if it has none.
const ControlValueButton::Image* ControlValueButton::firstOf(
    std::initializer_list<Picture> pictures) const {
    for (const Picture picture : pictures)
        if (images_[picture].bitmap)
            return &images_[picture];
    return nullptr;
}

const ControlValueButton::Image* ControlValueButton::getImage() const {
    const bool isNowOn = isOn();
    if (isPressed_ && isInside_)
        return isNowOn ? firstOf({DownOn, Down, On, Off, Up}) : firstOf({Down, Off, Up, On});
    if (blinkPhase_)
        return firstOf({Blink, Off, Up, On});
    return isNowOn ? firstOf({On, Off, Up}) : firstOf({Off, Up, On});
}

float ControlValueButton::getGlow() const {
    if (!images_[Over].bitmap || !(isOn() ? glowsWhenOn_ : glowsWhenOff_))
        return 0.0f;
    return fadeEnabled_ ? fadeLevel_ : isHovered() ? 1.0f : 0.0f;
}

void ControlValueButton::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    const Image* const image = getImage();
    if (image != nullptr)
        drawBitmapFrame(canvas, *image->bitmap, image->frame);
    else if (text_.empty() && textOn_.empty())
        drawPlain(canvas);
    if (const float glow = getGlow(); glow > 0.0f) {
        canvas.setGlobalAlpha(glow);
        drawBitmapFrame(canvas, *images_[Over].bitmap, images_[Over].frame);
        canvas.restoreAlpha();
    }
    const bool isNowOn = isOn();
    const std::string& text = isNowOn ? textOn_ : text_;
    if (text.empty())
        return;
    canvas.selectFont(font_);
    canvas.setTextColor(isNowOn ? textColorOn_.value_or(textColor_) : textColor_);
    canvas.drawText(text, getLocalRect(), Font::CenteredLine);
}

// Of a skin without images.
void ControlValueButton::drawPlain(Canvas& canvas) const {
    const Rect area = getLocalRect();
    canvas.setFillColor(isOn() ? foregroundColor_ : textColor_);
    canvas.fillRect(area);
    canvas.setPenColor(textColor_);
    canvas.frameRect(area);
    canvas.selectFont(font_);
    canvas.setTextColor(Color());
    canvas.drawText(label_,
                    {PlainInset, PlainInset, area.right - PlainInset, area.bottom - PlainInset},
                    Font::CenteredLine);
}

}  // namespace tarn
