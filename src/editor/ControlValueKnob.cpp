#include "editor/ControlValueKnob.h"

#include "editor/BitmapFrame.h"
#include "editor/Editor.h"
#include "editor/PopupMenu.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarn {

namespace {

constexpr Rect DefaultRect{0, 0, 30, 30};
constexpr std::int32_t DialInset = 4;
constexpr float PerPi = 0.31830987f;
constexpr float Pi = 3.1415927f, Turn = 6.2831855f;
constexpr float CircularHold = 0.06f;  // around the detent
constexpr std::int32_t MostDegrees = 36'000;

// The editor's numbers for the modes, of this menu; those of a controller's menu are smaller.
constexpr std::int32_t KnobModeMenu = 1000;
constexpr std::int32_t FirstKnobMode = 1001;
constexpr std::array<const char*, 3> KnobModes = {"Linear", "Circular", "Circular Relative"};

}  // namespace

ControlValueKnob::ControlValueKnob(Editor& editor) : ControlValue(editor) {
    rect_ = DefaultRect;
}

void ControlValueKnob::importDictionary(const Dictionary& dictionary) {
    ControlValue::importDictionary(dictionary);
    if (std::string handle; dictionary.getString("handle", handle))
        handleBitmap_ = editor().getBitmap(handle);
    const Point size = handleBitmap_ ? handleBitmap_->getFrameSize() : Point{};
    if (size.x > 0 && size.y > 0)
        setSize({0, 0, size.x, size.y});
    else if (!rect_.hasArea())
        setSize(DefaultRect);
    dictionary.getInteger("minangle", minAngle_);
    dictionary.getInteger("maxangle", maxAngle_);
    minAngle_ = std::clamp(minAngle_, -MostDegrees, MostDegrees);
    maxAngle_ = std::clamp(maxAngle_, -MostDegrees, MostDegrees);
}

Rect ControlValueKnob::frameRect() const {
    const Point size = handleBitmap_->getFrameSize();
    const Rect local = getLocalRect();
    const Point corner{(local.width() - size.x) / 2, (local.height() - size.y) / 2};
    return Rect{0, 0, size.x, size.y}.movedBy(corner);
}

std::int32_t ControlValueKnob::frame() const {
    return partOf(handleBitmap_->getFrameCount() - 1, getPosition());
}

bool ControlValueKnob::hitTest(Point point) const {
    if (!handleBitmap_ || testFlags(Opaque))
        return getLocalRect().contains(point);
    return frameRect().contains(point) &&
           handleBitmap_->isOpaqueAt(point - frameRect().topLeft() +
                                     handleBitmap_->getFrameRect(frame()).topLeft());
}

bool ControlValueKnob::handle(Message& message) {
    if (message.type == MessageType::Control && message.code == ControlMessage::MenuChoice) {
        const auto mode = fromPayload<std::int32_t>(message.payload) - FirstKnobMode;
        if (mode >= Editor::Linear && mode <= Editor::CircularRelative) {
            editor().setKnobMode(mode);
            return true;
        }
    }
    if (message.type == MessageType::Window && message.code == WindowMessage::ControlEnter &&
        handleBitmap_) {
        const Point position = static_cast<const WindowMessage&>(message).position;
        return ControlValue::handle(message) && frameRect().contains(position);
    }
    return ControlValue::handle(message);
}

void ControlValueKnob::buildContextMenu(PopupMenu& menu, Point position) {
    ControlValue::buildContextMenu(menu, position);
    PopupMenu& modes = menu.addSubMenu(PopupMenuEntry::of(this, KnobModeMenu, "Knob Mode"));
    std::int32_t mode = Editor::Linear;
    for (const char* const name : KnobModes) {
        const bool isPresent = mode == editor().getKnobMode();
        modes.addEntry(PopupMenuEntry::of(this, FirstKnobMode + mode++, name, isPresent));
    }
}

bool ControlValueKnob::press(const WindowMessage& message) {
    circularTurn_ = 0.0f;
    return ControlValue::press(message);
}

// In radians, clockwise from the top.
float ControlValueKnob::angleOf(Point point) const {
    const Rect local = getLocalRect();
    return std::atan2(static_cast<float>(point.x) - static_cast<float>(local.width()) * 0.5f,
                      static_cast<float>(local.height()) * 0.5f - static_cast<float>(point.y));
}

bool ControlValueKnob::drag(const WindowMessage& message) {
    const std::int32_t mode = editor().getKnobMode();
    if (mode == Editor::Linear || maxAngle_ == minAngle_)
        return ControlValue::drag(message);
    constexpr float HalfTurn = 180.0f;
    const float perAngle = HalfTurn / static_cast<float>(maxAngle_ - minAngle_) * PerPi;
    const float angle = angleOf(message.position);
    if (mode == Editor::Circular) {
        setPosition(perAngle * angle + 0.5f);
        return true;
    }
    constexpr float Percent = 100.0f;
    float turned = angle - angleOf(getDragAnchor());
    while (turned - circularTurn_ >= Pi)
        turned -= Turn;
    while (circularTurn_ - turned >= Pi)
        turned += Turn;
    circularTurn_ = turned;
    const float by = withoutDeadZone(perAngle * Percent * turned) / Percent;
    setPosition(draggedTo(by, CircularHold));
    return true;
}

void ControlValueKnob::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    if (handleBitmap_) {
        const Rect source = handleBitmap_->getFrameRect(frame()), target = frameRect();
        const Rect shown = target.intersectedWith(getLocalRect());
        canvas.drawBitmap(*handleBitmap_,
                          shown.movedBy(source.topLeft()).movedBy(-target.topLeft()), shown);
        return;
    }
    // From the lower left to the lower right, over the top.
    constexpr float StartDegrees = -225.0f, EndDegrees = 45.0f;
    constexpr float StartAngle = -3.9269907f, Sweep = 4.712389f;
    const Rect local = getLocalRect();
    const Rect dial{DialInset, DialInset, local.width() - DialInset, local.height() - DialInset};
    const Point centre{(dial.left + dial.right) / 2, (dial.top + dial.bottom) / 2};
    const Point half{dial.width() / 2, dial.height() / 2};
    const float angle = getPosition() * Sweep + StartAngle;
    canvas.setPenColor(Color(0.0f, 0.0f, 0.0f, 1.0f));
    canvas.setFillColor(foregroundColor_);
    canvas.arc(dial, StartDegrees, EndDegrees);
    canvas.ellipse({centre.x - half.x / 2, centre.y - half.y / 2, centre.x + half.x / 2,
                    centre.y + half.y / 2});
    canvas.moveTo(centre);
    canvas.lineTo(centre + Point{partOf(half.x, std::cos(angle)), partOf(half.y, std::sin(angle))});
}

}  // namespace tarn
