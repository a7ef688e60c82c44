// Shows which preset is current: the whole of an interface's handling of presets.
// Everything rests on one rule: it keeps nothing of the presets, for the host may change them at
// any time. What a menu or a box was opened for is looked up anew when the user answers.
#pragma once

#include "editor/Control.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarn {

/// A left click opens the list of presets, in sub-menus by their banks: "Bank/Name", where the name
/// may hold further "/". The context menu renames, saves and deletes the current one, and loads and
/// saves all in files. The factory's presets are neither renamed nor deleted; to save under the
/// name of one makes another preset. What can't be done is told in an alert. Interface thread.
class ControlPresetsPopup : public Control {
public:
    explicit ControlPresetsPopup(Editor& editor);

    void importDictionary(const Dictionary& dictionary) override;
    bool handle(Message& message) override;
    void buildContextMenu(PopupMenu& menu, Point position) override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;
    bool takesKeyboard() const override { return true; }
    bool isButton() const override { return true; }
    void pressAndRelease() override;

private:
    bool handleWindow(const WindowMessage& message);
    void choose(std::int32_t identifier);
    bool change(std::int32_t identifier);
    std::int32_t findOffered(std::int32_t index) const;
    void select(std::int32_t offered);
    void askForName(bool (*take)(Editor& editor, const std::string& name));
    Rect nameRoom() const;

    std::vector<std::string> offered_;  // the presets of the last list, by their ids
    std::string menuPreset_;            // the one that was current for the last context menu
};

}  // namespace tarn
