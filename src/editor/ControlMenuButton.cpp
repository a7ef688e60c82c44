#include "editor/ControlMenuButton.h"

#include "editor/Editor.h"
#include "editor/PopupMenu.h"

#include <memory>
#include <utility>

namespace tarn {

void ControlMenuButton::pressAndRelease() {
    auto menu = std::make_unique<PopupMenu>();
    // Towards the middle of the interface, so that the menu stays over it.
    const Rect shown = getAbsoluteRect(), whole = editor().getClientRect();
    const bool isLeftwards = shown.left + shown.right > whole.left + whole.right;
    if (isLeftwards)
        menu->openLeftwards();
    const Point corner{isLeftwards ? getRect().width() : 0, getRect().height()};
    const Point place = getAbsoluteOrigin() + corner;
    buildContextMenu(*menu, corner);
    editor().addContextMenuEntries(*menu, place);
    editor().setPendingMenu(std::move(menu), place);
}

}  // namespace tarn
