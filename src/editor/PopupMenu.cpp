#include "editor/PopupMenu.h"

#include "platform/SystemWindow.h"

#include <algorithm>
#include <utility>

namespace tarn {

// Numbers the entries and writes them down for the system.
struct MenuForSystem {
    std::int32_t nextId;

    std::vector<platform::MenuEntry> entriesOf(PopupMenu& menu) {
        std::vector<platform::MenuEntry> list;
        for (PopupMenuEntry& entry : menu.entries_) {
            platform::MenuEntry out;
            out.id = entry.platformId = nextId++;
            out.text = entry.text;
            out.isChecked = (entry.flags & PopupMenuEntry::Checked) != 0;
            out.isDisabled =
                (entry.flags & (PopupMenuEntry::Disabled | PopupMenuEntry::Greyed)) != 0;
            out.isOwnerDrawn = menu.isOwnerDrawn_ && !entry.subMenu && !entry.text.empty();
            if (entry.subMenu)
                out.entries = entriesOf(*entry.subMenu);
            list.push_back(std::move(out));
        }
        return list;
    }
};

PopupMenuEntry PopupMenuEntry::of(Radio* target, std::int32_t id, const std::string& text,
                                  bool isChecked) {
    PopupMenuEntry entry;
    entry.target = target;
    entry.id = id;
    entry.text = text;
    if (isChecked)
        entry.flags = Checked;
    return entry;
}

void PopupMenu::addEntry(PopupMenuEntry entry) {
    entries_.push_back(std::move(entry));
}

PopupMenu& PopupMenu::addSubMenu(PopupMenuEntry entry) {
    entry.subMenu = std::make_unique<PopupMenu>(baseId_);
    entries_.push_back(std::move(entry));
    return *entries_.back().subMenu;
}

void PopupMenu::addSeparator() {
    if (!entries_.empty() && !entries_.back().text.empty())
        entries_.push_back({});
}

const PopupMenuEntry* PopupMenu::find(std::int32_t platformId) const {
    for (const PopupMenuEntry& entry : entries_) {
        if (!entry.subMenu && entry.platformId == platformId)
            return &entry;
        if (entry.subMenu)
            if (const PopupMenuEntry* const found = entry.subMenu->find(platformId))
                return found;
    }
    return nullptr;
}

void PopupMenu::forget(const Radio* target) {
    if (owner_ == target)
        owner_ = nullptr;
    for (PopupMenuEntry& entry : entries_) {
        if (entry.target == target)
            entry.target = nullptr;
        if (entry.subMenu)
            entry.subMenu->forget(target);
    }
}

const PopupMenuEntry* PopupMenu::show(platform::SystemWindow& window, Point place) {
    const auto chosen = window.showMenu(
        MenuForSystem{baseId_}.entriesOf(*this), {std::max(0, place.x), std::max(0, place.y)},
        opensLeftwards_ ? platform::MenuSide::Left : platform::MenuSide::Right);
    return chosen ? find(*chosen) : nullptr;
}

}  // namespace tarn
