#include "editor/KeyboardFocus.h"

#include "editor/Control.h"
#include "editor/Editor.h"
#include "foundation/Message.h"

#include <algorithm>
#include <cstddef>

namespace tarn {

namespace {

bool isIn(const Control& tree, const Control* control) {
    while (control != nullptr && control != &tree)
        control = control->getParentControl();
    return control != nullptr;
}

}  // namespace

bool KeyboardFocus::canHave(const Control& control) const {
    const Control* const dialog = editor_.getDialog();
    return editor_.isOpen() && control.takesKeyboard() && control.testFlags(Control::Focusable) &&
           control.isVisible() &&
           control.testFlags(Control::Enabled, Control::Inheritance::AllAncestors) &&
           !control.isInThumbnail() && (dialog == nullptr || isIn(*dialog, &control));
}

bool KeyboardFocus::give(Control* control, Look look) {
    if (control != nullptr && !canHave(*control))
        return false;
    if (control_ != nullptr && isShown_)
        editor_.redraw(control_->getAbsoluteRect());
    control_ = control;
    isShown_ = control != nullptr && look == Look::Shown;
    if (isShown_)
        editor_.redraw(control_->getAbsoluteRect());
    return true;
}

bool KeyboardFocus::press(Control* pressed) {
    const auto& listed = editor_.getControls();
    while (pressed != nullptr &&
           (!canHave(*pressed) || std::find(listed.begin(), listed.end(), pressed) == listed.end()))
        pressed = pressed->getParentControl();
    give(pressed, Look::Hidden);
    return pressed != nullptr;
}

bool KeyboardFocus::keyDown(const WindowMessage& key) {
    if ((key.modifiers & (WindowMessage::Control | WindowMessage::Alt)) != 0)
        return false;
    const bool isShiftHeld = (key.modifiers & WindowMessage::Shift) != 0;
    if (key.keyCode == WindowMessage::TabKey)
        return goOn(isShiftHeld);
    if (control_ == nullptr || isShiftHeld)
        return false;
    if (key.keyCode == WindowMessage::EscapeKey)
        return give(nullptr, Look::Hidden);
    return (key.keyCode == WindowMessage::ReturnKey || key.keyCode == WindowMessage::SpaceKey) &&
           activate(key.keyCode == WindowMessage::SpaceKey);
}

// To the next one in the order of the file that can be seen, round the end if need be.
bool KeyboardFocus::goOn(bool isBack) {
    const auto& listed = editor_.getControls();
    const std::size_t count = listed.size();
    const auto present = std::find(listed.begin(), listed.end(), control_);
    // Without one, forwards from before the first, backwards from behind the last.
    std::size_t index = static_cast<std::size_t>(present - listed.begin());
    if (present == listed.end() && !isBack)
        index = count - 1;
    for (std::size_t tried = 0; tried < count; ++tried) {
        index = (index + (isBack ? count - 1 : 1)) % count;
        if (listed[index]->getAbsoluteRect().hasArea() && give(listed[index], Look::Shown))
            return true;
    }
    return false;
}

// Space and Return start and stop most hosts: only a button that the user sees to be meant gets
// them.
bool KeyboardFocus::activate(bool isSpace) {
    Control& control = *control_;
    if (!control.isButton())
        return !isSpace && control.activate();
    return isShown_ &&
           editor_.editOnce(control, UndoList::Kind::Whole, [&] { return control.activate(); });
}

void KeyboardFocus::follow() {
    if (control_ != nullptr && !canHave(*control_))
        give(nullptr, Look::Hidden);
}

void KeyboardFocus::forget(const Control& control) {
    if (control_ == &control)
        control_ = nullptr;
}

}  // namespace tarn
