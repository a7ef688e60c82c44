#include "editor/ControlEnum.h"

#include "editor/BitmapFrame.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "parameters/ParameterEnum.h"
#include "parameters/ParameterValue.h"

#include <algorithm>

namespace tarn {

namespace {

using Switch = ParameterValue<bool>;

}  // namespace

void ControlEnum::importDictionary(const Dictionary& dictionary) {
    Control::importDictionary(dictionary);
    clearFlags(TextEntry);  // two quick clicks are two clicks
    if (std::string id; dictionary.getString("handle", id))
        handle_ = editor().getBitmap(id);
    if (handle_ && !rect_.hasArea())
        setPosition(frameOf(*handle_).movedBy(rect_.topLeft()));
}

std::int32_t ControlEnum::getChoiceCount() const {
    const Parameter* const parameter = getParameter();
    if (const auto* const choice = dynamic_cast<const ParameterChoice*>(parameter))
        return choice->getStepCount();
    return dynamic_cast<const Switch*>(parameter) != nullptr ? 2 : 0;
}

std::int32_t ControlEnum::getChoice() const {
    const Parameter* const parameter = getParameter();
    if (const auto* const choice = dynamic_cast<const ParameterChoice*>(parameter))
        return choice->getStepCount() > 0 ? choice->getIndex() : -1;
    const auto* const binary = dynamic_cast<const Switch*>(parameter);
    return binary == nullptr ? -1 : binary->getValue() ? 1 : 0;
}

std::string ControlEnum::getChoiceText(std::int32_t choice) const {
    if (choice < 0 || choice >= getChoiceCount())
        return {};
    const Parameter* const parameter = getParameter();
    const auto* const list = dynamic_cast<const ParameterChoice*>(parameter);
    if (list == nullptr)
        return choice == 0 ? "Off" : "On";
    const std::string name = list->getDisplay(choice);
    const std::string unit = parameter->getUnit();
    return (name.empty() ? std::to_string(choice + 1) : name) + (unit.empty() ? "" : " " + unit);
}

void ControlEnum::choose(std::int32_t choice) {
    Parameter* const parameter = getParameter();
    setDirty(true);
    if (auto* const list = dynamic_cast<ParameterChoice*>(parameter))
        list->setIndex(choice, FromUser);
    else if (auto* const binary = dynamic_cast<Switch*>(parameter);
             binary != nullptr && (choice == 0 || choice == 1))
        binary->setValue(choice == 1, FromUser);
}

bool ControlEnum::handle(Message& message) {
    if (message.type != MessageType::Window || isInThumbnail())
        return Control::handle(message);
    return handleWindow(static_cast<WindowMessage&>(message));
}

bool ControlEnum::handleWindow(WindowMessage& message) {
    switch (message.code) {
        case WindowMessage::LeftDown:
        case WindowMessage::RightDown:
        case WindowMessage::LeftDouble:
        case WindowMessage::RightDouble:
            return (testFlags(Editable) && isAnswered(message) && press(message)) ||
                   Control::handle(message);
        case WindowMessage::LeftUp:
        case WindowMessage::RightUp:
            return letGo();
        case WindowMessage::ControlEnter:
        case WindowMessage::ControlExit: {
            const bool isInside = message.code == WindowMessage::ControlEnter;
            const bool isUsed = Control::handle(message);
            cross(isInside);
            return isUsed;
        }
        case WindowMessage::MouseDrag:
            return true;
        default:
            return Control::handle(message);
    }
}

bool ControlEnum::isAnswered(const WindowMessage& message) const {
    return (buttonMask_ & message.button) != 0;
}

bool ControlEnum::press(const WindowMessage& message) {
    Parameter* const parameter = getParameter();
    const std::int32_t height = getRect().height();
    if (getChoiceCount() == 0 || height <= 0)
        return false;
    const std::int32_t y = std::clamp(message.position.y, 0, height);
    setDirty(true);
    parameter->setNormalised(static_cast<float>(y) / static_cast<float>(height), FromUser);
    return true;
}

void ControlEnum::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    if (handle_)
        drawBitmapFrame(canvas, *handle_, getFrame());
    else
        drawText(canvas, getLocalRect(), getChoiceText(getChoice()), Font::CenteredLine);
}

}  // namespace tarn
