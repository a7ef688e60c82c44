// Which control of an interface has the keyboard, and what the keys do that bring it there.
// Everything rests on one rule: only a control of the file's that the user can see and use has it.
// Whatever hides, disables or deletes that control takes the keyboard away.
#pragma once

#include <cstdint>

namespace tarn {

class Control;
class Editor;
class WindowMessage;

/// Another thing than the focus of `Editor::setFocus`, which opens and closes controls. One an
/// editor. Interface thread.
class KeyboardFocus {
public:
    /// With `Shown` a frame is drawn over the control.
    enum class Look { Hidden, Shown };

    /// Nothing has the keyboard. The editor outlives it.
    explicit KeyboardFocus(Editor& editor) : editor_(editor) {}

    /// Null while nothing has it.
    Control* get() const { return control_; }
    bool isShownOn(const Control& control) const { return isShown_ && control_ == &control; }

    /// Gives the keyboard to a control, or with null to none; false, and nothing happens, where
    /// the control can't have it.
    bool give(Control* control, Look look);

    /// A left press on a control, or with null on none, gives the keyboard to it or to the nearest
    /// one above it that can have it; whether there was one. If not, nothing has it any more.
    bool press(Control* pressed);

    /// Tab, Escape, and Return and Space for a control that does something at them; whether the key
    /// was used.
    bool keyDown(const WindowMessage& key);

    /// Takes the keyboard away where its control can't have it any more.
    void follow();

    /// A control that goes.
    void forget(const Control& control);

private:
    bool canHave(const Control& control) const;
    bool goOn(bool isBack);
    bool activate(bool isSpace);

    Editor& editor_;
    Control* control_ = nullptr;
    bool isShown_ = false;
};

}  // namespace tarn
