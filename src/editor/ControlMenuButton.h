// Opens the menu that a right click opens, for users who don't look for one.
#pragma once

#include "editor/ControlPushButton.h"

namespace tarn {

/// Beneath the button, at the press, towards the middle of the interface. Interface thread.
class ControlMenuButton : public ControlPushButton {
public:
    using ControlPushButton::ControlPushButton;

    void pressAndRelease() override;

protected:
    bool actsAtPress() const override { return true; }
};

}  // namespace tarn
