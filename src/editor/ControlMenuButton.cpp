#include "editor/ControlMenuButton.h"

#include "editor/Editor.h"
#include "editor/PopupMenu.h"

#include <memory>
#include <utility>

namespace tarn {

void ControlMenuButton::pressAndRelease() {
    auto menu = std::make_unique<PopupMenu>();
    const Point corner{0, getRect().height()};
    const Point place = getAbsoluteOrigin() + corner;
    buildContextMenu(*menu, corner);
    editor().addContextMenuEntries(*menu, place);
    editor().setPendingMenu(std::move(menu), place);
}

}  // namespace tarn
