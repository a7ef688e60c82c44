#include "editor/ControlRadioButtons.h"

#include "editor/ControlValue.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"

namespace tarn {

namespace {

// The parameter of a button of a group; null for what is none.
Parameter* parameterOfButton(const Control* child) {
    return dynamic_cast<const ControlValue*>(child) != nullptr ? child->getParameter() : nullptr;
}

}  // namespace

void ControlRadioButtons::importDictionary(const Dictionary& dictionary) {
    dictionary.getInteger("value", value_);
    Control::importDictionary(dictionary);
}

void ControlRadioButtons::initialize() {
    Control::initialize();
    for (const Control* const child : getChildren())
        if (parameterOfButton(child) != nullptr)
            tuneInByName(child->getParameterName());
    isStarted_ = true;
    findSelected();
}

// What the parameters of the other module tell is their state, and changes nothing.
void ControlRadioButtons::setRadioHost(Radio* module) {
    isStarted_ = false;
    Control::setRadioHost(module);
    isStarted_ = true;
    findSelected();
}

void ControlRadioButtons::refresh() {
    Control::refresh();
    findSelected();
}

void ControlRadioButtons::findSelected() {
    selected_ = nullptr;
    std::int32_t number = 0;
    for (const Control* const child : getChildren()) {
        const Parameter* const parameter = parameterOfButton(child);
        if (parameter != nullptr && parameter->getNormalised() > 0.0f) {
            selected_ = parameter;
            return;
        }
        if (number++ == value_)
            selected_ = parameter;
    }
}

bool ControlRadioButtons::handle(Message& message) {
    const bool isUsed = Control::handle(message);
    if (message.type == MessageType::Parameter && message.code == ParameterMessage::ValueChanged &&
        isStarted_)
        follow(static_cast<const ParameterMessage&>(message));
    return isUsed;
}

void ControlRadioButtons::follow(const ParameterMessage& change) {
    for (const Control* const child : getChildren()) {
        Parameter* const parameter = parameterOfButton(child);
        if (parameter == nullptr || change.parameterName != parameter->getId() ||
            change.cloneNumber != parameter->getClone())
            continue;
        // As it is now, which the message may not tell any more.
        if (parameter->getNormalised() > 0.0f) {
            selected_ = parameter;
            turnOthersOff(*parameter, change.mode);
        } else if (parameter == selected_) {
            parameter->setNormalised(1.0f, change.mode);
        }
        return;
    }
}

// The host may end the interface over each of them.
void ControlRadioButtons::turnOthersOff(const Parameter& on, std::int32_t source) const {
    const auto alive = editor().life();
    for (const Control* const child : getChildren()) {
        if (Parameter* const other = parameterOfButton(child); other != nullptr && other != &on)
            other->setNormalised(0.0f, source);
        if (alive.expired())
            return;
    }
}

Control* ControlRadioButtons::findControlAt(Point point) {
    if (!isVisible() || !testFlags(Enabled) || !getLocalRect().contains(point))
        return nullptr;
    return findBelow(point, &Control::findControlAt);
}

}  // namespace tarn
