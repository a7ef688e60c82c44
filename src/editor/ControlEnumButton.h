// A button that goes through the choices of a list, or stands for one of them.
#pragma once

#include "editor/ControlEnum.h"

#include <cstdint>

namespace tarn {

/// A press goes on to the next choice, and from the last to the first; with key "value", to that
/// choice, or back to the first one where another is chosen. Off the button the former choice holds
/// again, as long as it is pressed. A strip of two frames shows, with key "value", whether that
/// choice holds. Interface thread.
class ControlEnumButton : public ControlEnum {
public:
    using ControlEnum::ControlEnum;

    void importDictionary(const Dictionary& dictionary) override;
    void suspend() override { isPressed_ = false; }
    bool takesKeyboard() const override { return testFlags(Editable); }
    bool isButton() const override { return true; }
    void pressAndRelease() override;

protected:
    bool press(const WindowMessage& message) override;
    bool letGo() override;
    void cross(bool isInside) override;
    bool isAnswered(const WindowMessage& /*message*/) const override { return true; }
    std::int32_t getFrame() const override;

private:
    std::int32_t getNext() const;

    std::int32_t value_ = 0;  // the choice that it stands for; 0 for none
    bool isPressed_ = false;
    std::int32_t before_ = 0;   // the press
    std::int32_t pressed_ = 0;  // what the press chose
};

}  // namespace tarn
