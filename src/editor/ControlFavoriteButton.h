// A button for one of the user's favourite presets.
#pragma once

#include "editor/ControlValueButton.h"

namespace tarn {

/// Key "on" is the favourite's slot. On while the slot's preset is the current one; a click makes
/// it that, and one with Shift stores the current preset in the slot, whose former one goes where
/// the current one was. A click on an empty slot does nothing. Interface thread.
class ControlFavoriteButton : public ControlValueButton {
public:
    explicit ControlFavoriteButton(Editor& editor);

    bool handle(Message& message) override;
    bool isOn() const override;

    /// What a click with Shift does.
    void storeCurrent();

protected:
    bool press(const WindowMessage& message) override;
    void click() override;
};

}  // namespace tarn
