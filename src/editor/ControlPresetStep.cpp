#include "editor/ControlPresetStep.h"

#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "plugin/Plugin.h"

#include <algorithm>

namespace tarn {

void ControlPresetStep::importDictionary(const Dictionary& dictionary) {
    dictionary.getInteger("step", step_);
    step_ = std::clamp(step_, -PresetsLibrary::MostPresets, PresetsLibrary::MostPresets);
    ControlPushButton::importDictionary(dictionary);
}

void ControlPresetStep::pressAndRelease() {
    Plugin& presets = editor().instance();
    const auto held = presets.hold();
    const std::int32_t count = presets.getPresetCount(), before = presets.getCurrentIndex();
    if (count < 2)
        return;
    presets.setProgram(((before + step_) % count + count) % count);
    editor().noteProgramChange(before);
}

}  // namespace tarn
