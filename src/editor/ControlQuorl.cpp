#include "editor/ControlQuorl.h"

#include "editor/Editor.h"
#include "editor/PopupMenu.h"
#include "foundation/Message.h"
#include "foundation/Preferences.h"

namespace tarn {

namespace {

enum MenuId : std::int32_t { Troubleshooting = 2000, CpuMeters = 2001, Diagnostics = 2002 };

}  // namespace

void ControlQuorl::buildContextMenu(PopupMenu& menu, Point position) {
    bool isOn = false;
    if (const Preferences* const user = Preferences::user())
        user->getBool("ShowCPUMeters", isOn);
    PopupMenu& troubles =
        menu.addSubMenu(PopupMenuEntry::of(this, Troubleshooting, "Troubleshooting"));
    troubles.addEntry(PopupMenuEntry::of(this, CpuMeters, "Enable CPU meters", isOn));
    ControlURL::buildContextMenu(menu, position);
}

// What the editor's own menu does, too.
bool ControlQuorl::handle(Message& message) {
    if (message.type == MessageType::Control && message.code == ControlMessage::MenuChoice) {
        const auto id = fromPayload<std::int32_t>(message.payload);
        if (id == CpuMeters || id == Diagnostics) {
            ControlMessage choice(
                this, ControlMessage::MenuChoice, {},
                toPayload<std::int32_t>(id == CpuMeters ? Editor::ShowCpuMetersId
                                                        : Editor::SubmitDiagnosticsId));
            return editor().receive(choice);
        }
    }
    return ControlURL::handle(message);
}

}  // namespace tarn
