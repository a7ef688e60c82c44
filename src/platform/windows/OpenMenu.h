// A menu of a window while the user looks at it.
#pragma once

#include "platform/SystemWindow.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tarn::platform {

class ChildWindow;

class OpenMenu {
public:
    /// As SystemWindow::showMenu.
    static std::optional<std::int32_t> show(const std::shared_ptr<ChildWindow>& window,
                                            const std::vector<MenuEntry>& entries, Spot place,
                                            MenuSide side);

    // What the system asks the window for while it shows owner-drawn entries.
    void measure(const ChildWindow& window, MEASUREITEMSTRUCT& entry) const;
    void draw(const ChildWindow& window, const DRAWITEMSTRUCT& entry) const;

private:
    bool append(HMENU menu, const MenuEntry& entry);
    bool appendAll(HMENU menu, const std::vector<MenuEntry>& entries);
    std::optional<std::int32_t> idOf(std::size_t number) const;

    // The system knows an entry by its place here, from 1. The entries themselves are the owner's,
    // which may end before the menu does.
    std::vector<std::int32_t> ids_;
};

}  // namespace tarn::platform
