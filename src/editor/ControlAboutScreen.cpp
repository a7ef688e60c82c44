#include "editor/ControlAboutScreen.h"

#include "editor/ControlBitmap.h"
#include "editor/ControlText.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"

#include <cmath>
#include <memory>
#include <utility>

namespace tarn {

namespace {

constexpr std::uint32_t FadeTimer = fourCharacterCode("CASf");
constexpr float Faintest = 0.01f;
constexpr std::int32_t Steps = 12;
constexpr double FadeMs = 300.0;

const Message* fadeTick() {
    static const TimerMessage Tick(nullptr, TimerMessage::Tick, FadeTimer, 0);
    return &Tick;
}

}  // namespace

ControlAboutScreen::ControlAboutScreen(Editor& editor)
    : Control(editor), animation_(this, fadeTick(), Faintest, 1.0f, Steps, FadeMs) {
    tuneIn(&animation_);
    auto image = std::make_unique<ControlBitmap>(editor);
    image_ = image.get();
    addChild(std::move(image));
    setVisible(false);
}

ControlAboutScreen::~ControlAboutScreen() = default;

void ControlAboutScreen::importDictionary(const Dictionary& dictionary) {
    dictionary.getString("handle", handle_);
    Control::importDictionary(dictionary);
    addChild(takeChild(*image_));  // beneath the children to come, wherever this control stands
    image_->setImage(id_, handle_);
    if (!rect_.hasArea())
        setPosition(image_->getRect().movedBy(rect_.topLeft()));
    finish();
}

bool ControlAboutScreen::handle(Message& message) {
    switch (message.type) {
        case MessageType::Parameter:
            if (const auto& change = static_cast<const ParameterMessage&>(message);
                change.code == ParameterMessage::ValueChanged && !parameterName_.empty() &&
                change.parameterName == parameterName_) {
                if (isOwnClone(change))
                    fade((change.payload & 0xFF) != 0);
                return true;
            }
            break;
        case MessageType::Resource:
            if (message.code == ResourceMessage::SetLoaded)
                image_->setImage(id_, handle_);
            return false;
        case MessageType::Timer:
            if (static_cast<const TimerMessage&>(message).timerId == FadeTimer) {
                takeStep(fromPayload<float>(message.payload));
                return true;
            }
            break;
        case MessageType::Window:
            if (message.code == WindowMessage::LeftDown) {
                fade(!isShown_);
                switchParameter();
                return true;
            }
            break;
        default:
            break;
    }
    return Control::handle(message);
}

void ControlAboutScreen::refresh() {
    Control::refresh();
    image_->setImage(id_, handle_);
    if (const Parameter* const parameter = getParameter())
        isShown_ = parameter->getNormalised() >= 0.5f;
    finish();
}

void ControlAboutScreen::suspend() {
    finish();
}

Control* ControlAboutScreen::findControlAt(Point point) {
    Control* const found = Control::findControlAt(point);
    const bool isPicture = dynamic_cast<ControlBitmap*>(found) != nullptr ||
                           dynamic_cast<ControlText*>(found) != nullptr;
    return isPicture ? this : found;
}

void ControlAboutScreen::fade(bool isIn) {
    if (isIn == isShown_)
        return;
    isShown_ = isIn;
    if (!editor().isOpen()) {
        finish();
        return;
    }
    if (!testFlags(Visible))
        setOpacity(Faintest);
    setVisible(true);
    setDirty(true);
    isFading_ = true;
    animation_.Timer::stop(false);
    animation_.setRange(getOpacity(), isIn ? 1.0f : Faintest);
    animation_.start();
}

// The last step of an animation may be the one before its end.
void ControlAboutScreen::takeStep(float opacity) {
    if (!isFading_)
        return;
    const float end = isShown_ ? 1.0f : Faintest;
    if (std::abs(end - opacity) < 1.5f / Steps)
        finish();
    else
        setOpacity(opacity);
}

void ControlAboutScreen::finish() {
    isFading_ = false;
    animation_.Timer::stop(false);
    setVisible(isShown_);
    setOpacity(1.0f);
}

void ControlAboutScreen::switchParameter() {
    Parameter* const parameter = getParameter();
    if (parameter != nullptr)
        parameter->setNormalised(isShown_ ? 1.0f : 0.0f, FromInternal);
}

}  // namespace tarn
