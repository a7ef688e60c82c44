#include "editor/ControlEnumPopupMenu.h"

#include "drawing/Canvas.h"
#include "editor/Editor.h"
#include "editor/PopupMenu.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"

#include <memory>
#include <utility>

namespace tarn {

namespace {

constexpr float EntryTextSize = 12.0f;
constexpr std::int32_t EntryIndent = 20, EntryMargin = 4;
constexpr std::int32_t MarkSize = 5;

}  // namespace

void ControlEnumPopupMenu::importDictionary(const Dictionary& dictionary) {
    dictionary.getBool("displaychoice", displaysChoice_);
    ControlEnum::importDictionary(dictionary);
    clearFlags(Learn);  // whose entries have the same numbers
}

bool ControlEnumPopupMenu::press(const WindowMessage& /*message*/) {
    return open(editor().getLastMouse());
}

void ControlEnumPopupMenu::pressAndRelease() {
    open(getAbsoluteOrigin() + Point{0, getRect().height()});
}

bool ControlEnumPopupMenu::open(Point place) {
    auto menu = std::make_unique<PopupMenu>();
    fillMenu(*menu);
    if (menu->getEntries().empty())
        return false;
    menu->setOwner(this);
    menu->setOwnerDrawn(testFlags(Live));
    isPreviewed_ = false;
    before_ = getChoice();
    editor().setPendingMenu(std::move(menu), place);
    return true;
}

void ControlEnumPopupMenu::fillMenu(PopupMenu& menu) {
    const std::int32_t count = getChoiceCount(), present = getChoice();
    for (std::int32_t i = 0; i < count; ++i)
        menu.addEntry(PopupMenuEntry::of(this, i, getChoiceText(i), i == present));
}

bool ControlEnumPopupMenu::handle(Message& message) {
    if (message.type == MessageType::Control && message.code == ControlMessage::MenuChoice)
        return handleChoice(fromPayload<std::int32_t>(message.payload));
    if (message.type == MessageType::Window && message.code == WindowMessage::MenuMeasure)
        return measure(*fromPayload<OwnerDrawnEntry*>(message.payload));
    if (message.type == MessageType::Window && message.code == WindowMessage::MenuDraw)
        return draw(*fromPayload<OwnerDrawnEntry*>(message.payload));
    return ControlEnum::handle(message);
}

bool ControlEnumPopupMenu::handleChoice(std::int32_t choice) {
    const bool wasPreviewed = std::exchange(isPreviewed_, false);
    if (choice >= 0)
        edit(choice);
    else if (wasPreviewed)
        edit(before_);
    return true;
}

// Within the press that opened the menu, if one did.
void ControlEnumPopupMenu::edit(std::int32_t choice) {
    if (editor().getCaptureControl() == this) {
        choose(choice);
        return;
    }
    editor().editOnce(*this, UndoList::Kind::Whole, [this, choice] {
        choose(choice);
        return true;
    });
}

bool ControlEnumPopupMenu::measure(OwnerDrawnEntry& drawn) const {
    const PopupMenuEntry* const entry = editor().findMenuEntry(drawn.id);
    if (entry == nullptr)
        return false;
    const Canvas* const shown = editor().getCanvas();
    const Rect text = Canvas::measureText(Canvas::getDefaultFont(EntryTextSize), entry->text,
                                          shown != nullptr ? shown->getDeviceScale() : 1.0);
    drawn.size = {text.right + EntryIndent + EntryMargin, text.bottom + 2 * EntryMargin};
    return true;
}

// What is highlighted may be heard at once, and the host may end the interface over that: nothing
// comes after it.
bool ControlEnumPopupMenu::draw(const OwnerDrawnEntry& drawn) {
    const PopupMenuEntry* const entry = editor().findMenuEntry(drawn.id);
    if (entry == nullptr)
        return false;
    Canvas& canvas = *drawn.canvas;
    Rect area = canvas.getClip();
    const Color black;
    canvas.setFillColor(drawn.isSelected ? Color::fromBytes(255, 190, 50, 255)
                                         : Color::fromBytes(220, 220, 220, 255));
    canvas.fillRect(area);
    if ((entry->flags & PopupMenuEntry::Checked) != 0) {
        canvas.setFillColor(black);
        canvas.setPenColor(black);
        const Point corner{(EntryIndent - MarkSize) / 2, (area.height() - MarkSize) / 2};
        canvas.ellipse(Rect{0, 0, MarkSize, MarkSize}.movedBy(corner));
    }
    area.left += EntryIndent;
    canvas.selectFont(Canvas::getDefaultFont(EntryTextSize));
    canvas.setTextColor(black);
    canvas.drawText(entry->text, area, Font::Left | Font::CenterVertical);
    if (drawn.isSelected && testFlags(Live) && entry->id != getChoice()) {
        isPreviewed_ = true;
        choose(entry->id);
    }
    return true;
}

void ControlEnumPopupMenu::drawForeground(Canvas& canvas, const Rect& rect) {
    ControlEnum::drawForeground(canvas, rect);
    if (handle_ && displaysChoice_)
        drawText(canvas, getLocalRect(), getChoiceText(getChoice()), Font::CenteredLine);
}

}  // namespace tarn
