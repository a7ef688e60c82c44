#include "editor/ControlVUMeter.h"

#include "editor/BitmapFrame.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "foundation/Timer.h"
#include "parameters/Parameter.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace tarn {

namespace {

constexpr std::uint32_t MeterTimer = fourCharacterCode("CVUt");
constexpr double HoldSeconds = 0.25;
constexpr std::int32_t LineSize = 2;
constexpr float HeldBrightness = 0.75f;

std::int32_t evenPartOf(std::int32_t length, float part) {
    return static_cast<std::int32_t>(static_cast<float>(length) * part) / LineSize * LineSize;
}

// Instances may have interfaces on threads of their own.
std::shared_ptr<Timer> sharedTimer() {
    static std::mutex lock;
    static std::weak_ptr<Timer> shared;
    const std::lock_guard guard(lock);
    std::shared_ptr<Timer> timer = shared.lock();
    if (!timer) {
        const TimerMessage tick(nullptr, TimerMessage::Tick, MeterTimer, 0);
        timer = std::make_shared<Timer>(nullptr, &tick, 1000.0 / Editor::getRedrawRate(), false);
        timer->start();
        shared = timer;
    }
    return timer;
}

}  // namespace

float ControlVUMeter::toDecibels(float linear) {
    return 20.0f * std::log10(linear > 0.0f ? linear : 0.0f);
}

void ControlVUMeter::initialize() {
    ControlValue::initialize();
    clearFlags(Editable | TextEntry);
}

void ControlVUMeter::importDictionary(const Dictionary& dictionary) {
    ControlValue::importDictionary(dictionary);
    meterBitmap_ = readHandle(dictionary);
    dictionary.getBool("attenuation", attenuation_);
}

// The timer

void ControlVUMeter::joinTimer() {
    if (timer_ || !editor().isOpen())
        return;
    timer_ = sharedTimer();
    tuneIn(timer_.get());
}

void ControlVUMeter::leaveTimer() {
    if (!timer_)
        return;
    tuneOut(timer_.get());
    timer_.reset();
}

void ControlVUMeter::refresh() {
    ControlValue::refresh();
    joinTimer();
    if (const Parameter* const parameter = getParameter())
        take(parameter->getNormalised());
}

void ControlVUMeter::suspend() {
    leaveTimer();
    ControlValue::suspend();
}

// Levels

bool ControlVUMeter::handle(Message& message) {
    if (message.type == MessageType::Parameter && message.code == ParameterMessage::ValueChanged) {
        const auto& change = static_cast<const ParameterMessage&>(message);
        const Parameter* const parameter = getParameter();
        if (parameter != nullptr && change.parameterName == parameterName_) {
            if (parameter->getClone() == change.cloneNumber)
                take(change.value);
            return true;
        }
    }
    if (message.type == MessageType::Timer && message.code == TimerMessage::Tick) {
        const auto& ticked = static_cast<const TimerMessage&>(message);
        if (ticked.timerId == MeterTimer) {
            tick(ticked.sinceLastTick);
            return true;
        }
    }
    return ControlValue::handle(message);
}

void ControlVUMeter::take(float linear) {
    levels_.level = toDecibels(linear);
    if (levels_.level <= levels_.peak)
        return;
    levels_.peak = levels_.level;
    holdLeft_ = HoldSeconds;
    show(levels_);
}

void ControlVUMeter::tick(double seconds) {
    holdLeft_ -= seconds;
    if (holdLeft_ > 0.0)
        return;
    levels_.peak = levels_.level;
    holdLeft_ = HoldSeconds;
    show(levels_);
}

void ControlVUMeter::show(const Levels& levels) {
    levels_ = levels;
    if (pictureOf(levels_) == pictureOf(shown_))
        return;
    shown_ = levels_;
    setDirty(true);
}

// The picture

bool ControlVUMeter::isTall() const {
    const Rect local = getLocalRect();
    return local.height() >= local.width();
}

ControlVUMeter::Picture ControlVUMeter::pictureOf(const Levels& levels) const {
    const float level = positionOf(levels.level), peak = positionOf(levels.peak);
    const Rect local = getLocalRect();
    if (!meterBitmap_)
        return {partOf(local.height(), level), partOf(local.height(), peak)};
    const std::int32_t frames = meterBitmap_->getFrameCount();
    if (frames != 2)
        return {partOf(frames - 1, attenuation_ ? 1.0f - level : level), 0};
    const std::int32_t length = isTall() ? local.height() : local.width();
    if (attenuation_)
        return {std::max(partOf(length, peak) - 1, 0), 0};
    // Where the line begins: from the top, or from the left and within the meter.
    const std::int32_t line = isTall() ? evenPartOf(length, 1.0f - peak)
                                       : std::min(evenPartOf(length, peak), length - LineSize);
    return {partOf(length, level), peak > 0.0f ? line : -LineSize};
}

void ControlVUMeter::drawForeground(Canvas& canvas, const Rect& rect) {
    // A part of it must go with the rest, which isn't drawn now.
    if (rect == getLocalRect())
        shown_ = levels_;
    drawPicture(canvas, pictureOf(shown_));
}

void ControlVUMeter::drawBars(Canvas& canvas, const Picture& picture) const {
    const Rect local = getLocalRect();
    const Color& bright = foregroundColor_;
    canvas.setFillColor(Color(bright.getRed() * HeldBrightness, bright.getGreen() * HeldBrightness,
                              bright.getBlue() * HeldBrightness, bright.getAlpha()));
    canvas.fillRect(
        {0, local.height() - picture.peak, local.width(), local.height() - picture.lit});
    canvas.setFillColor(bright);
    canvas.fillRect({0, local.height() - picture.lit, local.width(), local.height()});
}

void ControlVUMeter::drawPicture(Canvas& canvas, const Picture& picture) const {
    if (!meterBitmap_) {
        drawBars(canvas, picture);
        return;
    }
    const Rect local = getLocalRect();
    if (meterBitmap_->getFrameCount() != 2) {
        drawBitmapPart(canvas, *meterBitmap_, picture.lit, local);
        return;
    }
    const std::int32_t width = local.width(), height = local.height(), lit = picture.lit;
    drawBitmapPart(canvas, *meterBitmap_, 0, local);
    // Attenuation is read from the other end, and its lit part ends at the peak.
    if (isTall())
        drawBitmapPart(
            canvas, *meterBitmap_, 1,
            attenuation_ ? Rect{0, 0, width, lit} : Rect{0, height - lit, width, height});
    else
        drawBitmapPart(
            canvas, *meterBitmap_, 1,
            attenuation_ ? Rect{width - lit, 0, width, height} : Rect{0, 0, lit, height});
    if (attenuation_)
        return;
    drawPeakLine(canvas, isTall() ? Rect{0, picture.peak, width, picture.peak + LineSize}
                                  : Rect{picture.peak, 0, picture.peak + LineSize, height});
}

void ControlVUMeter::drawPeakLine(Canvas& canvas, const Rect& line) const {
    drawBitmapPart(canvas, *meterBitmap_, 1, line);
}

}  // namespace tarn
