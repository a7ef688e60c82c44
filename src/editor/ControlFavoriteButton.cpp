#include "editor/ControlFavoriteButton.h"

#include "editor/Editor.h"
#include "foundation/Message.h"
#include "platform/Desktop.h"
#include "plugin/Plugin.h"

namespace tarn {

namespace {

constexpr int ShiftKey = 0x10;
constexpr std::int32_t MostSlots = 1024;

}  // namespace

ControlFavoriteButton::ControlFavoriteButton(Editor& editor) : ControlValueButton(editor) {
    tuneIn(&editor.instance());
}

bool ControlFavoriteButton::handle(Message& message) {
    if (message.type == MessageType::Plugin) {
        setDirty(true);
        return true;
    }
    return ControlValueButton::handle(message);
}

bool ControlFavoriteButton::isOn() const {
    const Plugin& presets = editor().instance();
    const auto held = presets.hold();
    return presets.getPresetCount() > 0 &&
           presets.getFavorite(getOnInteger()) == presets.getCurrentIndex();
}

bool ControlFavoriteButton::press(const WindowMessage& message) {
    return !isOn() && ControlValueButton::press(message);
}

void ControlFavoriteButton::click() {
    if (platform::isKeyDown(ShiftKey)) {
        storeCurrent();
        return;
    }
    Plugin& presets = editor().instance();
    const auto held = presets.hold();
    const std::int32_t before = presets.getCurrentIndex();
    presets.recallFavorite(getOnInteger());
    editor().noteProgramChange(before);
}

void ControlFavoriteButton::storeCurrent() {
    Plugin& presets = editor().instance();
    const auto held = presets.hold();
    const std::int32_t slot = getOnInteger();
    if (slot >= 0 && slot < MostSlots && !presets.getFavorites().contains(slot))
        presets.setFavorite(slot, -1);
    presets.moveToFavorite(slot);
}

}  // namespace tarn
