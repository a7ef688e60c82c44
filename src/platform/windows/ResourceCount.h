// How much this process holds of what the system hands out for windows and wants back.
// Everything rests on one rule: whoever calls the system to take or give back counts it here, since
// a window class or a menu that was forgotten shows nowhere else.
#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

namespace tarn::platform {

/// Windows, menus, fonts, font files, window classes and OLE registrations together. Any thread.
int heldResources() noexcept;

void countTaken() noexcept;

/// Whether the system has really taken it back.
void countGivenBack(bool isGivenBack) noexcept;

struct GiveBack {
    void operator()(HMENU menu) const { countGivenBack(::DestroyMenu(menu) != 0); }
    void operator()(HFONT font) const { countGivenBack(::DeleteObject(font) != 0); }
};
using OwnedMenu = std::unique_ptr<std::remove_pointer_t<HMENU>, GiveBack>;
using OwnedFont = std::unique_ptr<std::remove_pointer_t<HFONT>, GiveBack>;

/// What the system has just made; null where it couldn't.
template <typename Owned>
Owned own(typename Owned::pointer made) {
    if (made != nullptr)
        countTaken();
    return Owned(made);
}

}  // namespace tarn::platform
