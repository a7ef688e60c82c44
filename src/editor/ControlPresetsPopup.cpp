#include "editor/ControlPresetsPopup.h"

#include "audio/Module.h"
#include "diagnostics/System.h"
#include "drawing/Canvas.h"
#include "editor/Editor.h"
#include "editor/PopupMenu.h"
#include "foundation/File.h"
#include "foundation/Message.h"
#include "foundation/Preferences.h"
#include "foundation/ProductIdentity.h"
#include "parameters/Preset.h"
#include "plugin/Plugin.h"
#include "plugin/PluginInfo.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <string_view>
#include <utility>

namespace tarn {

namespace {

enum MenuId : std::int32_t {
    Rename = 0,
    Duplicate = 1,
    SaveAs = 2,
    Delete = 3,
    Revert = 4,
    Reset = 5,
    FavoritesMenu = 6,
    LibraryMenu = 7,
    Load = 8,
    RestoreFactory = 9,
    Save = 10,
    SaveAsDefault = 11,
    FirstFavorite = 900,
    FirstDuplicate = 1000,
    FirstPreset = 2000,
};
constexpr std::int32_t MostFavorites = FirstDuplicate - FirstFavorite;
constexpr std::int32_t NameMargin = 6;  // at both sides
constexpr int DeepestFolder = 8;        // what is deeper stays in the name

const char* const DefaultPresetsKey = "DefaultPresets";

std::string presetIdOf(const Preset* preset) {
    return preset != nullptr ? preset->getId() : std::string();
}

std::string currentIdOf(const PresetsLibrary& presets) {
    const auto held = presets.hold();
    return presetIdOf(presets.getCurrent());
}

// Fills a menu with presets, in the order of the library.
class PresetsTree {
public:
    PresetsTree(Radio* target, const PresetsLibrary& presets, PopupMenu& menu)
        : target_(target), presets_(presets) {
        folders_[""] = &menu;
        if (const Preset* const current = presets.getCurrent())
            currentPath_ = current->getName(Preset::BankName | Preset::OwnName);
    }

    void add(std::int32_t index, const Preset& preset) {
        const std::string path = preset.getName(Preset::BankName | Preset::OwnName);
        std::size_t start = 0;  // of the name behind its folders
        PopupMenu* menu = folders_.at("");
        for (int depth = 0; depth < DeepestFolder; ++depth) {
            const std::size_t slash = path.find('/', start);
            if (slash == std::string::npos || slash + 1 == path.size())
                break;
            if (slash > start)
                menu = &folderAt(*menu, path.substr(0, slash), path.substr(start, slash - start));
            start = slash + 1;
        }
        const std::string name = path.substr(start);
        menu->addEntry(PopupMenuEntry::of(target_, FirstPreset + index,
                                          name.empty() ? presets_.getProgramName(index) : name,
                                          index == presets_.getCurrentIndex()));
    }

private:
    PopupMenu& folderAt(PopupMenu& above, const std::string& path, const std::string& name) {
        PopupMenu*& folder = folders_[path];
        if (folder == nullptr)
            folder = &above.addSubMenu(
                PopupMenuEntry::of(target_, 0, name, currentPath_.starts_with(path + "/")));
        return *folder;
    }

    Radio* target_;
    const PresetsLibrary& presets_;
    std::map<std::string, PopupMenu*> folders_;  // by their paths
    std::string currentPath_;
};

// Of the folder of the current preset; with a "/" in the name, of one in that.
std::string inCurrentBank(const PresetsLibrary& presets, const std::string& name) {
    const Preset* const current = presets.getCurrent();
    const std::string bank = current != nullptr ? current->getName(Preset::BankName) : "";
    return bank.empty() ? name : bank + "/" + name;
}

void tellOfRoom(bool isThere) {
    if (!isThere)
        System::alert(PresetsLibrary::NoRoom, true);
}

// These two answer false where there is no room for another preset.

bool renamePreset(Editor& editor, const std::string& name) {
    Plugin& presets = editor.instance();
    if (const Preset* const current = presets.getCurrent()) {
        const std::string before = current->getName(Preset::BankName | Preset::OwnName);
        if (presets.renameCurrent(inCurrentBank(presets, name)))
            editor.noteRename(before);
    }
    return true;
}

bool savePreset(Editor& editor, const std::string& name) {
    Plugin& presets = editor.instance();
    if (name == presets.getCurrentName() && presets.storeCurrent())
        return true;
    const std::int32_t before = presets.getCurrentIndex();
    const bool isThere = presets.addPreset(inCurrentBank(presets, name));
    editor.noteProgramChange(before);
    return isThere;
}

FileDialog dialogOf(const std::string& title, const std::string& prompt) {
    return {title, prompt, ProductIdentity::get().getProductName() + " Banks",
            "*." + PluginInfo::get().getPresetExtension() + ";"};
}

// While a dialog is open, the host may end the instance.

void loadPresets(Editor& editor) {
    const auto alive = editor.life();
    File file("default");
    if (!file.browseOpen(dialogOf("Load presets from file", "Select input file")) ||
        alive.expired())
        return;
    if (std::string message; !editor.instance().loadFile(file, message))
        System::alert(message, true);
}

void restoreFactory(Editor& editor) {
    constexpr int Yes = 0;
    const auto alive = editor.life();
    if (editor.instance().hasChanges() &&
        System::ask("Changes to the presets have not been saved to a file.\r\nDo you want to "
                    "restore the factory presets all the same?",
                    true) != Yes)
        return;
    if (alive.expired())
        return;
    if (std::string message; !editor.instance().loadFile(PresetsLibrary::getFactoryFile(), message))
        System::alert(message, true);
}

Error rememberAsDefault(const File& file) {
    Preferences* const user = Preferences::user();
    if (user == nullptr)
        return Error(ErrorPrefsKeyNotSaved(__func__, DefaultPresetsKey));
    return user->setString(DefaultPresetsKey, file.getPath());
}

void savePresets(Editor& editor, bool isDefault) {
    const auto alive = editor.life();
    File file(ProductIdentity::get().getProductName() +
              (isDefault ? " default presets" : " presets"));
    if (!file.browseSave(dialogOf(isDefault ? "Save presets as default" : "Save presets to file",
                                  "Select output file")) ||
        alive.expired())
        return;
    if (std::string message; !editor.instance().saveAll(file, message)) {
        System::alert(message, true);
        return;
    }
    editor.instance().setModified(false);
    if (!isDefault)
        return;
    if (const Error error = rememberAsDefault(file); !error.isOk())
        System::alert(error.what(), true);
}

}  // namespace

ControlPresetsPopup::ControlPresetsPopup(Editor& editor) : Control(editor) {
    tuneIn(&editor.instance());
}

void ControlPresetsPopup::importDictionary(const Dictionary& dictionary) {
    Control::importDictionary(dictionary);
    clearFlags(Learn);  // whose entries have the same numbers
}

bool ControlPresetsPopup::handle(Message& message) {
    switch (message.type) {
        case MessageType::Plugin:
            setDirty(true);
            return true;
        case MessageType::Control:
            if (message.code == ControlMessage::MenuChoice) {
                choose(fromPayload<std::int32_t>(message.payload));
                return true;
            }
            break;
        case MessageType::Window:
            if (!isInThumbnail() && handleWindow(static_cast<const WindowMessage&>(message)))
                return true;
            break;
        default:
            break;
    }
    return Control::handle(message);
}

bool ControlPresetsPopup::handleWindow(const WindowMessage& message) {
    switch (message.code) {
        case WindowMessage::LeftDown:
        case WindowMessage::LeftDouble:  // the second press of a quick pair
            pressAndRelease();
            return true;
        case WindowMessage::LeftUp:
        case WindowMessage::RightUp:
            return true;
        default:
            return false;
    }
}

void ControlPresetsPopup::pressAndRelease() {
    const PresetsLibrary& presets = editor().instance();
    auto menu = std::make_unique<PopupMenu>();
    offered_.clear();
    const auto held = presets.hold();
    PresetsTree tree(this, presets, *menu);
    for (const auto& preset : presets.getPresets()) {
        tree.add(static_cast<std::int32_t>(offered_.size()), *preset);
        offered_.push_back(preset->getId());
    }
    editor().setPendingMenu(std::move(menu), getAbsoluteOrigin() + Point{0, getRect().height()});
}

void ControlPresetsPopup::buildContextMenu(PopupMenu& menu, Point position) {
    const PresetsLibrary& presets = editor().instance();
    const auto held = presets.hold();
    const Preset* const current = presets.getCurrent();
    menuPreset_ = presetIdOf(current);
    const auto entry = [this](std::int32_t id, const std::string& text, bool isEnabled = true) {
        PopupMenuEntry made = PopupMenuEntry::of(this, id, text);
        if (!isEnabled)
            made.flags = PopupMenuEntry::Disabled;
        return made;
    };
    const bool isOwn = current != nullptr && !presets.isFactory(*current);
    menu.addEntry(entry(Rename, "Rename preset", isOwn));
    menu.addEntry(entry(SaveAs, "Save preset as..."));
    if (current != nullptr && current->hasPrograms() && current->isModified())
        menu.addEntry(entry(Revert, "Revert to saved"));
    if (presets.getPresetCount() > 1)
        menu.addEntry(entry(Delete, "Delete preset", isOwn));
    if (!presets.getFavorites().empty()) {
        PopupMenu& favorites = menu.addSubMenu(entry(FavoritesMenu, "Store as favorite"));
        for (const auto& [slot, index] : presets.getFavorites())
            if (slot >= 0 && slot < MostFavorites) {
                const std::string name = presets.getProgramName(index);
                favorites.addEntry(
                    entry(FirstFavorite + slot,
                          std::to_string(slot + 1) + ") " + (name.empty() ? "(empty)" : name),
                          index != presets.getCurrentIndex()));
            }
    }
    PopupMenu& library = menu.addSubMenu(entry(LibraryMenu, "Preset library"));
    library.addEntry(entry(Load, "Load presets from file..."));
    library.addEntry(entry(Save, "Save presets to file..."));
    library.addEntry(entry(SaveAsDefault, "Save as default presets..."));
    library.addEntry(entry(RestoreFactory, "Restore factory presets"));
    Control::buildContextMenu(menu, position);
}

// The control may be gone afterwards. What changes, the instance tells.
void ControlPresetsPopup::choose(std::int32_t identifier) {
    Editor& shown = editor();
    if (identifier == Load)
        loadPresets(shown);
    else if (identifier == RestoreFactory)
        restoreFactory(shown);
    else if (identifier == Save || identifier == SaveAsDefault)
        savePresets(shown, identifier == SaveAsDefault);
    else if (identifier >= FirstPreset)
        select(identifier - FirstPreset);
    else
        tellOfRoom(change(identifier));  // the host may end the instance meanwhile
}

// False where there is no room for another preset.
bool ControlPresetsPopup::change(std::int32_t identifier) {
    Plugin& presets = editor().instance();
    const auto held = presets.hold();
    if (identifier >= FirstDuplicate) {
        const std::int32_t index = identifier - FirstDuplicate;
        return presets.getPreset(index) == nullptr || presets.duplicatePreset(index);
    }
    if (currentIdOf(presets) != menuPreset_)
        return true;
    switch (identifier) {
        case Rename:
            askForName(renamePreset);
            return true;
        case SaveAs:
            askForName(savePreset);
            return true;
        case Duplicate:
            return presets.getCurrent() == nullptr ||
                   presets.duplicatePreset(presets.getCurrentIndex());
        case Delete:
            presets.deleteCurrent();
            return true;
        case Revert:
            presets.revertCurrent();
            return true;
        case Reset:
            if (Module* const module = editor().getModule())
                module->loadDefaults();
            return true;
        default:
            presets.moveToFavorite(identifier - FirstFavorite);
            return true;
    }
}

// Presets may have come and gone since the list was made.
std::int32_t ControlPresetsPopup::findOffered(std::int32_t index) const {
    const Plugin& plugin = editor().instance();
    const auto place = static_cast<std::size_t>(index);
    if (place >= offered_.size() || presetIdOf(plugin.getPreset(index)) == offered_[place])
        return index;
    const auto& presets = plugin.getPresets();
    const auto moved = std::ranges::find_if(
        presets, [&](const auto& preset) { return preset->getId() == offered_[place]; });
    return moved != presets.end() ? static_cast<std::int32_t>(std::distance(presets.begin(), moved))
                                  : -1;
}

void ControlPresetsPopup::select(std::int32_t offered) {
    Plugin& presets = editor().instance();
    const auto held = presets.hold();
    const std::int32_t before = presets.getCurrentIndex();
    presets.setProgram(findOffered(offered));
    editor().noteProgramChange(before);
}

void ControlPresetsPopup::askForName(bool (*take)(Editor& editor, const std::string& name)) {
    Editor& shown = editor();
    const std::string id = currentIdOf(shown.instance());
    const auto taken = [&shown, take, id](const std::string& name) {
        const auto held = shown.instance().hold();
        const bool isName = name.find_first_not_of(' ') != std::string::npos;
        return !isName || currentIdOf(shown.instance()) != id || take(shown, name);
    };
    shown.setPendingEdit(*this, nameRoom().movedBy(getAbsoluteOrigin()),
                         shown.instance().getCurrentName(),
                         [taken](const std::string& name) { tellOfRoom(taken(name)); });
}

Rect ControlPresetsPopup::nameRoom() const {
    Rect room = getLocalRect();
    room.left += NameMargin;
    room.right -= NameMargin;
    return room;
}

void ControlPresetsPopup::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    const PresetsLibrary& presets = editor().instance();
    const auto held = presets.hold();
    const Preset* const current = presets.getCurrent();
    const std::string mark = current != nullptr && current->isModified() ? "*" : "";
    const std::string name = presets.getProgramName(presets.getCurrentIndex());
    const Rect room = nameRoom();
    drawText(canvas, room, fitted(name, room.width() - measureText(mark).x) + mark,
             Font::CenteredLine);
}

}  // namespace tarn
