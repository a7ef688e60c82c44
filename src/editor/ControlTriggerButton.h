// A pad that plays a note, and lights up with the notes of its own key.
#pragma once

#include "editor/ControlValueButton.h"

namespace tarn {

/// The pads are told apart by the number of their parameter, "clone": key 36 lights up the first
/// one. The higher up the press, the louder the note. Interface thread.
class ControlTriggerButton : public ControlValueButton {
public:
    explicit ControlTriggerButton(Editor& editor);

    void setRadioHost(Radio* module) override;
    bool handle(Message& message) override;

protected:
    bool press(const WindowMessage& message) override;
    bool letGo(const WindowMessage& message) override;

private:
    void followEngine();
    void playNote(float value);

    Radio* engine_ = nullptr;  // whose notes it hears
};

}  // namespace tarn
