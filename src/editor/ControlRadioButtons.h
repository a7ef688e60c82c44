// A group of buttons of which one is on.
#pragma once

#include "editor/Control.h"

#include <cstdint>
#include <string>

namespace tarn {

/// Its children are the buttons, each with a parameter of its own. One that goes on turns the
/// others off; the one that is on can't be turned off. Key "value" is the number, from 0, of the
/// one that counts as on where none is. The pointer reaches the children alone. Interface thread.
class ControlRadioButtons : public Control {
public:
    using Control::Control;

    void importDictionary(const Dictionary& dictionary) override;
    void initialize() override;
    void setRadioHost(Radio* module) override;
    bool handle(Message& message) override;
    void refresh() override;
    Control* findControlAt(Point point) override;

private:
    void findSelected();
    // The control may be gone after either of these.
    void follow(const ParameterMessage& change);
    void turnOthersOff(const Parameter& on, std::int32_t source) const;

    std::int32_t value_ = 0;
    const Parameter* selected_ = nullptr;  // only compared
    bool isStarted_ = false;
};

}  // namespace tarn
