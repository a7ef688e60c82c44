#include "editor/ControlEnumButton.h"

#include "drawing/Bitmap.h"
#include "foundation/Dictionary.h"

namespace tarn {

void ControlEnumButton::importDictionary(const Dictionary& dictionary) {
    dictionary.getIntegerText("value", value_);
    ControlEnum::importDictionary(dictionary);
}

std::int32_t ControlEnumButton::getNext() const {
    const std::int32_t present = getChoice();
    if (value_ != 0)
        return present == 0 ? value_ : 0;
    return (present + 1) % getChoiceCount();
}

bool ControlEnumButton::press(const WindowMessage& /*message*/) {
    if (getChoiceCount() == 0)
        return false;
    if (isPressed_)
        return true;  // by the other button of the mouse
    isPressed_ = true;
    before_ = getChoice();
    pressed_ = getNext();
    choose(pressed_);
    return true;
}

bool ControlEnumButton::letGo() {
    isPressed_ = false;
    setDirty(true);
    return true;
}

void ControlEnumButton::cross(bool isInside) {
    if (isPressed_)
        choose(isInside ? pressed_ : before_);
}

void ControlEnumButton::pressAndRelease() {
    if (getChoiceCount() > 0)
        choose(getNext());
}

std::int32_t ControlEnumButton::getFrame() const {
    const bool tellsOne = value_ != 0 && handle_->getFrameCount() <= 2;
    return tellsOne ? (getChoice() == value_ ? 1 : 0) : getChoice();
}

}  // namespace tarn
