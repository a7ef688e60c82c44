#include "platform/windows/OpenMenu.h"

#include "platform/windows/ChildWindow.h"
#include "platform/windows/ResourceCount.h"
#include "platform/windows/Text.h"

#include <algorithm>
#include <string>

namespace tarn::platform {

namespace {

// A lone ampersand would underline the next letter.
std::wstring label(const std::string& text) {
    std::wstring label;
    for (const wchar_t letter : wide(text))
        label.append(letter == L'&' ? 2 : 1, letter);
    return label;
}

UINT flagsOf(const MenuEntry& entry) {
    return (entry.isChecked ? MF_CHECKED : MF_UNCHECKED) |
           (entry.isDisabled ? MF_DISABLED | MF_GRAYED : MF_ENABLED);
}

}  // namespace

bool OpenMenu::append(HMENU menu, const MenuEntry& entry) {
    if (!entry.entries.empty()) {
        OwnedMenu below = own<OwnedMenu>(::CreatePopupMenu());
        if (below == nullptr || !appendAll(below.get(), entry.entries) ||
            ::AppendMenuW(menu, flagsOf(entry) | MF_POPUP, reinterpret_cast<UINT_PTR>(below.get()),
                          label(entry.text).c_str()) == 0)
            return false;
        below.release();  // NOLINT(bugprone-unused-return-value): it ends with the menu above
        countGivenBack(true);
        return true;
    }
    if (entry.text.empty() && !entry.isOwnerDrawn)
        return ::AppendMenuW(menu, MF_SEPARATOR, 0, nullptr) != 0;
    ids_.push_back(entry.id);
    if (entry.isOwnerDrawn)
        return ::AppendMenuW(menu, flagsOf(entry) | MF_OWNERDRAW, ids_.size(), nullptr) != 0;
    return ::AppendMenuW(menu, flagsOf(entry) | MF_STRING, ids_.size(),
                         label(entry.text).c_str()) != 0;
}

bool OpenMenu::appendAll(HMENU menu, const std::vector<MenuEntry>& entries) {
    return std::all_of(entries.begin(), entries.end(),
                       [&](const MenuEntry& entry) { return append(menu, entry); });
}

std::optional<std::int32_t> OpenMenu::idOf(std::size_t number) const {
    return number >= 1 && number <= ids_.size() ? std::optional(ids_[number - 1]) : std::nullopt;
}

std::optional<std::int32_t> OpenMenu::show(const std::shared_ptr<ChildWindow>& window,
                                           const std::vector<MenuEntry>& entries, Spot place,
                                           MenuSide side) {
    OpenMenu open;
    const OwnedMenu menu = own<OwnedMenu>(::CreatePopupMenu());
    if (menu == nullptr || !open.appendAll(menu.get(), entries))
        return std::nullopt;
    const EndedPress press(window);
    window->menu = &open;
    const UINT edge = side == MenuSide::Left ? TPM_RIGHTALIGN : TPM_LEFTALIGN;
    const int number =
        ::TrackPopupMenu(menu.get(), TPM_RETURNCMD | TPM_RIGHTBUTTON | edge, std::max(place.x, 0),
                         std::max(place.y, 0), 0, window->handle, nullptr);
    window->menu = nullptr;
    return window->owner != nullptr ? open.idOf(static_cast<std::size_t>(number)) : std::nullopt;
}

void OpenMenu::measure(const ChildWindow& window, MEASUREITEMSTRUCT& entry) const {
    const std::optional<std::int32_t> id = idOf(entry.itemID);
    if (!id)
        return;
    const Spot size = window.owner->measureEntry(*id);
    entry.itemWidth = static_cast<UINT>(std::max(size.x, 0));
    entry.itemHeight = static_cast<UINT>(std::max(size.y, 0));
}

void OpenMenu::draw(const ChildWindow& window, const DRAWITEMSTRUCT& entry) const {
    const std::optional<std::int32_t> id = idOf(entry.itemID);
    if (!id)
        return;
    const Pixels picture = window.owner->drawEntry(*id, (entry.itemState & ODS_SELECTED) != 0);
    if (window.owner == nullptr ||  // and its picture with it
        picture.bytes == nullptr || picture.width <= 0)
        return;
    // The menu is as wide as its widest entry, and wider: what is beside the picture looks like its
    // bottom right pixel.
    const std::uint8_t* const corner = picture.bytes + 4 * (picture.width - 1);
    ::SetDCBrushColor(entry.hDC, RGB(corner[2], corner[1], corner[0]));
    ::FillRect(entry.hDC, &entry.rcItem, static_cast<HBRUSH>(::GetStockObject(DC_BRUSH)));
    const Area part{0, 0, entry.rcItem.right - entry.rcItem.left,
                    entry.rcItem.bottom - entry.rcItem.top};
    copyPixels(entry.hDC, {entry.rcItem.left, entry.rcItem.top}, picture, part);
}

}  // namespace tarn::platform
