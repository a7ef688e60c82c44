// Chooses from a menu, which can be heard while the user looks through it.
#pragma once

#include "editor/ControlEnum.h"

#include <cstdint>

namespace tarn {

struct OwnerDrawnEntry;

/// A press of either button opens the menu there. With the flag `Live`, which is on unless the skin
/// says otherwise, what is highlighted holds at once, where the system lets menus be painted; a
/// menu that the user leaves brings back what was chosen before. The text of the choice is shown
/// over the strip with key "displaychoice", and always where there is no strip. Interface thread.
class ControlEnumPopupMenu : public ControlEnum {
public:
    using ControlEnum::ControlEnum;

    void importDictionary(const Dictionary& dictionary) override;
    bool handle(Message& message) override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;
    bool takesKeyboard() const override { return testFlags(Editable); }
    bool isButton() const override { return true; }

    /// Adds an entry for each choice, of the choice's number.
    virtual void fillMenu(PopupMenu& menu);

    /// Opens the menu beneath the control.
    void pressAndRelease() override;

protected:
    bool press(const WindowMessage& message) override;
    bool isAnswered(const WindowMessage& /*message*/) const override { return true; }

private:
    bool open(Point place);
    bool handleChoice(std::int32_t choice);
    bool measure(OwnerDrawnEntry& drawn) const;
    bool draw(const OwnerDrawnEntry& drawn);
    void edit(std::int32_t choice);

    bool displaysChoice_ = false;
    bool isPreviewed_ = false;  // a choice that was only highlighted holds
    std::int32_t before_ = 0;   // what the menu was opened over
};

}  // namespace tarn
