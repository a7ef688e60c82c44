// Goes to the next preset, or to the one before.
#pragma once

#include "editor/ControlPushButton.h"

#include <cstdint>

namespace tarn {

/// By key "step" presets on, 1 at first, or with a negative one back; behind the last comes the
/// first. Interface thread.
class ControlPresetStep : public ControlPushButton {
public:
    using ControlPushButton::ControlPushButton;

    void importDictionary(const Dictionary& dictionary) override;
    void pressAndRelease() override;

private:
    std::int32_t step_ = 1;
};

}  // namespace tarn
