#include "vst/VSTEditor.h"

#include "editor/Editor.h"
#include "editor/Window.h"
#include "foundation/Message.h"
#include "plugin/Plugin.h"
#include "plugin/PluginInfo.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace tarn {

namespace {

constexpr std::uint32_t TickMs = 50;

// Windows' numbers of the keys, in the order in which the interface counts its own from 1.
constexpr std::array<std::uint8_t, 56> KeysFromOne = {
    0x08, 0x09, 0x0C, 0x0D, 0x13, 0x1B, 0x20, 0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28,
    0x21, 0x22, 0x29, 0x2A, 0x0D, 0x2C, 0x2D, 0x2E, 0x2F, 0x60, 0x61, 0x62, 0x63, 0x64,
    0x65, 0x66, 0x67, 0x68, 0x69, 0x6A, 0x6B, 0x6C, 0x6D, 0x6E, 0x6F, 0x70, 0x71, 0x72,
    0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A, 0x7B, 0x90, 0x91, 0x10, 0x11, 0x12,
};

// Of a key that isn't listed, by what it types: with Control that may be a number from 1.
std::int32_t keyTyping(std::int32_t character, bool isControlHeld) {
    if (isControlHeld && character >= 1 && character <= 26)
        return 'A' + character - 1;
    if (character >= 'a' && character <= 'z')
        return character - 'a' + 'A';
    const bool isOwnKey =
        (character >= 'A' && character <= 'Z') || (character >= '0' && character <= '9') ||
        character == WindowMessage::TabKey || character == WindowMessage::ReturnKey ||
        character == WindowMessage::EscapeKey || character == WindowMessage::SpaceKey;
    return isOwnKey ? character : 0;
}

// Hosts tell the Control key in either of two ways.
std::uint32_t modifiersOf(const VstKeyCode& key) {
    constexpr std::pair<unsigned, std::uint32_t> Table[] = {{1, WindowMessage::Shift},
                                                            {2, WindowMessage::Alt},
                                                            {4, WindowMessage::Control},
                                                            {8, WindowMessage::Control}};
    std::uint32_t held = 0;
    for (const auto& [bit, modifier] : Table)
        if ((key.modifier & bit) != 0)
            held |= modifier;
    return held;
}

WindowMessage messageOf(const VstKeyCode& key, std::int32_t code) {
    const bool isListed = key.virt >= 1 && key.virt <= KeysFromOne.size();
    const std::uint32_t modifiers = modifiersOf(key);
    const std::int32_t keyCode =
        isListed ? KeysFromOne[key.virt - 1u]
                 : keyTyping(key.character, (modifiers & WindowMessage::Control) != 0);
    return {nullptr, code, nullptr, WindowPosition{{}, keyCode, modifiers},
            toPayload(key.character)};
}

}  // namespace

VSTEditor::VSTEditor(AudioEffect& owner, Plugin& plugin)
    : AEffEditor(&owner), editor_(PluginInfo::get().createEditor(plugin, plugin.moduleAt(0))) {
    editor_->start();
}

VSTEditor::~VSTEditor() {
    timer_.reset();
    editor_->stop();
}

bool VSTEditor::getRect(ERect** rect) {
    constexpr std::int32_t Most = std::numeric_limits<std::int16_t>::max();
    if (editor_->isInterfaceThread())
        editor_->takeChoices();
    const Point size = editor_->getScreenSize();
    rect_ = {0, 0, static_cast<std::int16_t>(std::min(size.y, Most)),
             static_cast<std::int16_t>(std::min(size.x, Most))};
    *rect = &rect_;
    return editor_->getRootControl() != nullptr;
}

bool VSTEditor::open(void* window) {
    timer_.reset();
    systemWindow = window;
    editor_->close();
    editor_->takeChoices();
    if (editor_->getRootControl() == nullptr ||
        !editor_->open(window, editor_->getClientRect(), editor_->getScale()))
        return false;
    timer_ = std::make_unique<WindowTimer>(editor_->getWindow()->getHandle(), TickMs);
    return true;
}

void VSTEditor::close() {
    timer_.reset();
    editor_->close();
}

bool VSTEditor::isOpen() const {
    return editor_->isOpen();
}

bool VSTEditor::onKeyDown(const VstKeyCode& key) {
    Editor& editor = *editor_;
    const auto life = editor.life();
    WindowMessage message = messageOf(key, WindowMessage::KeyPress);
    const bool isUsed = editor.receive(message);
    if (isUsed && !life.expired())
        editor.showPending();
    return isUsed;
}

bool VSTEditor::onKeyUp(const VstKeyCode& key) {
    WindowMessage message = messageOf(key, WindowMessage::KeyRelease);
    return editor_->receive(message);
}

void VSTEditor::redrawAll() {
    editor_->redrawAll();
}

void VSTEditor::redrawRect(const ERect& rect) {
    editor_->addDirtyRect({rect.left, rect.top, rect.right, rect.bottom});
}

}  // namespace tarn
