#include "editor/ControlContainer.h"

#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "parameters/ParameterValue.h"

#include <algorithm>
#include <memory>

namespace tarn {

namespace {

// To the child at the place that it tells. Who the pointer is over, who has the keyboard and who is
// to be drawn, the editor knows.
bool isPassedOn(const WindowMessage& message) {
    switch (message.code) {
        case WindowMessage::LeftDouble:
        case WindowMessage::ControlEnter:
        case WindowMessage::ControlExit:
        case WindowMessage::KeyPress:
        case WindowMessage::KeyRelease:
        case WindowMessage::DropEnd:
        case WindowMessage::Repaint:
            return false;
        default:
            return true;
    }
}

}  // namespace

void ControlContainer::importDictionary(const Dictionary& dictionary) {
    dictionary.getBool("invertvalue", isInverted_);
    Control::importDictionary(dictionary);
}

Rect ControlContainer::getRect() const {
    Rect rect = Control::getRect();
    if (testFlags(ThumbnailMode))
        return rect;
    for (const Control* const child : getChildren()) {
        const Rect inside = child->getRect().movedBy(rect.topLeft());
        if (inside.hasArea()) {
            rect.right = std::max(rect.right, inside.right);
            rect.bottom = std::max(rect.bottom, inside.bottom);
        }
    }
    return rect;
}

void ControlContainer::setContainerParameter(const std::string& name) {
    setParameterName(name);
}

void ControlContainer::clearContainerParameter(const std::string& name) {
    if (name == getParameterName())
        setParameterName({});
}

bool ControlContainer::handle(Message& message) {
    if (message.type == MessageType::Parameter) {
        const auto& change = static_cast<const ParameterMessage&>(message);
        if (change.code == ParameterMessage::ValueChanged && !change.parameterName.empty() &&
            change.parameterName == getParameterName()) {
            if (isOwnClone(change))
                showFor(change);
            return true;
        }
        // What a parameter tells a new listener is no change.
        if (change.parameterName == "LeaveModalMode" && change.mode != FromInternal) {
            ControlMessage lost(this, ControlMessage::FocusLost);
            return handle(lost);
        }
    }
    if (message.type == MessageType::Window && editor().getCaptureControl() != this &&
        isPassedOn(static_cast<const WindowMessage&>(message))) {
        const auto& event = static_cast<const WindowMessage&>(message);
        Control* const found = findControlAt(event.position);
        if (found != nullptr && found != this) {
            const std::unique_ptr<Message> copy = message.clone();
            static_cast<WindowMessage&>(*copy).position =
                event.position + getAbsoluteOrigin() - found->getAbsoluteOrigin();
            found->handle(*copy);
            return true;
        }
    }
    const bool isUsed = Control::handle(message);
    if (message.type == MessageType::Control && message.code == ControlMessage::FocusGained &&
        testFlags(Modal))
        editor().enterModal(*this);
    return isUsed;
}

void ControlContainer::refresh() {
    Control::refresh();
    const auto* const parameter = dynamic_cast<const ParameterValue<bool>*>(getParameter());
    if (parameter != nullptr && parameter->getValue() != isOn_) {
        isOn_ = parameter->getValue();
        setVisible(isOn_ != isInverted_);
    }
}

void ControlContainer::showFor(const ParameterMessage& change) {
    isOn_ = (change.payload & 0xFF) != 0;
    const bool isShown = isOn_ != isInverted_;
    setVisible(isShown);
    if (change.mode != FromUser || !testFlags(Modal))
        return;
    ControlMessage focus(this, isShown ? ControlMessage::FocusGained : ControlMessage::FocusLost);
    handle(focus);
    if (isShown)
        editor().setFocus(this);
    else if (editor().getFocusControl() == this)
        editor().setFocus(nullptr);
}

}  // namespace tarn
