// A menu that a control or the editor offers.
#pragma once

#include "foundation/Point.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarn::platform {
class SystemWindow;
}

namespace tarn {

class PopupMenu;
class Radio;

struct PopupMenuEntry {
    enum Flag : std::uint32_t { Checked = 1, Disabled = 2, Greyed = 4 };

    Radio* target = nullptr;  // gets the choice; not owned
    std::int32_t id = 0;      // the target's own number for it
    std::string text;         // UTF-8; empty for a separator
    std::uint32_t flags = 0;
    std::int32_t platformId = 0;  // what the system knows it by, given when the menu is shown
    std::unique_ptr<PopupMenu> subMenu;

    static PopupMenuEntry of(Radio* target, std::int32_t id, const std::string& text,
                             bool isChecked = false);
};

/// Interface thread.
class PopupMenu {
public:
    /// The system's numbers for the entries run from `baseId` on, which is above 0.
    explicit PopupMenu(std::int32_t baseId = 8) : baseId_(baseId) {}
    PopupMenu(const PopupMenu&) = delete;
    PopupMenu& operator=(const PopupMenu&) = delete;
    ~PopupMenu() = default;

    void addEntry(PopupMenuEntry entry);

    /// A menu of its own behind this entry, which can't be chosen itself. It stays this menu's.
    PopupMenu& addSubMenu(PopupMenuEntry entry);

    /// Unless the menu is empty, or ends with one.
    void addSeparator();

    /// Hears of it, as of `Editor::NothingChosen`, when the user has chosen nothing; null for
    /// nobody. Not owned.
    void setOwner(Radio* owner) { owner_ = owner; }
    Radio* getOwner() const { return owner_; }

    /// Its entries are painted by their target, which is asked for their size and picture.
    void setOwnerDrawn(bool isOwnerDrawn) { isOwnerDrawn_ = isOwnerDrawn; }

    /// Opens to the left of its place, not to the right.
    void openLeftwards() { opensLeftwards_ = true; }

    /// Shows the menu at a place of the screen and waits. The chosen entry; null if none was
    /// chosen, or the window went meanwhile.
    const PopupMenuEntry* show(platform::SystemWindow& window, Point place);

    /// The entry that the system knows by this number, here or in a sub-menu; null if there is
    /// none.
    const PopupMenuEntry* find(std::int32_t platformId) const;

    /// The entries of a target that goes can still be chosen, but nobody hears of it; nor does an
    /// owner that goes hear of anything.
    void forget(const Radio* target);

    void clear() { entries_.clear(); }
    const std::vector<PopupMenuEntry>& getEntries() const { return entries_; }

private:
    friend struct MenuForSystem;

    std::int32_t baseId_;
    Radio* owner_ = nullptr;
    bool isOwnerDrawn_ = false;
    bool opensLeftwards_ = false;
    std::vector<PopupMenuEntry> entries_;
};

}  // namespace tarn
