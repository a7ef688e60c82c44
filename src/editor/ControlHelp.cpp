#include "editor/ControlHelp.h"

#include "drawing/Canvas.h"
#include "editor/Editor.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace tarn {

namespace {

constexpr std::uint32_t TooltipTimer = fourCharacterCode("CHds");
constexpr std::uint32_t HideTimer = fourCharacterCode("CHdh");
constexpr double TooltipDelayMs = 600.0;
constexpr double HideDelayMs = 1500.0;  // of a value that doesn't change any more
constexpr std::int32_t MarginX = 6, MarginY = 4;
constexpr std::int32_t WindowEdge = 4;  // between the box and the window's edges
constexpr float FrameOpacity = 0.3f;    // of the text's colour

// From the pointer's hot spot to a box at its right or below it, past the arrow.
constexpr Point AtPointer{16, 8};
constexpr Point PastPointer{16, 20};

const Message* tick(std::uint32_t id) {
    static const TimerMessage Tooltip(nullptr, TimerMessage::Tick, TooltipTimer, 0);
    static const TimerMessage Hide(nullptr, TimerMessage::Tick, HideTimer, 0);
    return id == TooltipTimer ? &Tooltip : &Hide;
}

// The value goes on a line of its own, if the control doesn't tell it in its own words.
std::string textFor(const Control& control) {
    std::string text = control.getTooltip();
    const Parameter* const parameter =
        control.testFlags(Control::ShowValue) ? control.getParameter() : nullptr;
    if (parameter != nullptr)
        if (const std::string value = Control::shownValue(*parameter); !text.ends_with(value))
            text += (text.empty() ? "" : "\n") + value;
    return text;
}

Rect boxAt(Point corner, Point size) {
    return Rect{0, 0, size.x, size.y}.movedBy(corner);
}

Rect movedInto(const Rect& window, const Rect& box) {
    const Point back{std::max(window.left - box.left, std::min(0, window.right - box.right)),
                     std::max(window.top - box.top, std::min(0, window.bottom - box.bottom))};
    return box.movedBy(back);
}

}  // namespace

ControlHelp::ControlHelp(Editor& editor)
    : ControlText(editor),
      tooltipTimer_(this, tick(TooltipTimer), TooltipDelayMs, true),
      hideTimer_(this, tick(HideTimer), HideDelayMs, true) {
    tuneIn(&tooltipTimer_);
    tuneIn(&hideTimer_);
    font_ = Canvas::getDefaultFont(12.0f);
    backgroundColor_ = Color::fromBytes(40, 40, 40, 255);
    marginX_ = MarginX;
    marginY_ = MarginY;
    setFlags(ClickThrough);
    setVisible(false);
}

void ControlHelp::importDictionary(const Dictionary& dictionary) {
    ControlText::importDictionary(dictionary);
    zorder_ = std::numeric_limits<std::int32_t>::max();
    setFlags(ClickThrough);
    setVisible(false);
}

void ControlHelp::start() {
    tuneIn(&editor());
}

void ControlHelp::stop() {
    tuneOut(&editor());
    follow(nullptr);
}

void ControlHelp::suspend() {
    ControlText::suspend();
    follow(nullptr);
}

void ControlHelp::forget(const Control& control) {
    if (current_ == &control)
        follow(nullptr);
}

void ControlHelp::follow(Control* control) {
    hide();
    tuneOutByName(std::exchange(followed_, {}));
    current_ = control;
    if (current_ == nullptr || !current_->testFlags(ShowValue))
        return;
    followed_ = current_->getParameterName();
    tuneInByName(followed_);
}

bool ControlHelp::handle(Message& message) {
    if (message.type == MessageType::Control) {
        switch (message.code) {
            case ControlMessage::HoverBegin:
                follow(static_cast<Control*>(fromPayload<void*>(message.payload)));
                if (current_ != nullptr && current_->testFlags(ShowValueOnHover))
                    showNow();
                else if (current_ != nullptr)
                    tooltipTimer_.start();
                return true;
            case ControlMessage::HoverEnd:
                follow(nullptr);
                return true;
            case ControlMessage::HelpRefresh:
            case ControlMessage::HelpRefreshCurve:
                showNow();
                return true;
            case ControlMessage::HelpHide:
                hide();
                return true;
            default:
                break;
        }
    }
    if (message.type == MessageType::Timer) {
        const std::uint32_t id = static_cast<const TimerMessage&>(message).timerId;
        if (id == TooltipTimer)
            showNow();
        else if (id == HideTimer)
            setVisible(false);
    }
    if (message.type == MessageType::Parameter &&
        isOfCurrent(static_cast<const ParameterMessage&>(message))) {
        showNow();
        hideTimer_.restart();
        return true;
    }
    return ControlText::handle(message);
}

// What a parameter tells a new listener, before the tooltip is shown, is no change.
bool ControlHelp::isOfCurrent(const ParameterMessage& change) const {
    if (change.code != ParameterMessage::ValueChanged ||
        (change.mode == FromInternal && !testFlags(Visible)) || current_ == nullptr ||
        followed_.empty() || !(change.parameterName == followed_))
        return false;
    const Parameter* const parameter = current_->getParameter();
    return parameter != nullptr && parameter->getClone() == change.cloneNumber;
}

void ControlHelp::hide() {
    tooltipTimer_.stop(false);
    hideTimer_.stop(false);
    setVisible(false);
}

void ControlHelp::drawForeground(Canvas& canvas, const Rect& rect) {
    ControlText::drawForeground(canvas, rect);
    canvas.setPenColor(
        {textColor_.getRed(), textColor_.getGreen(), textColor_.getBlue(), FrameOpacity});
    canvas.frameRect(getLocalRect());
}

void ControlHelp::showNow() {
    const std::string text = current_ != nullptr ? textFor(*current_) : std::string();
    if (text.empty()) {
        hide();
        return;
    }
    tooltipTimer_.stop(false);
    hideTimer_.stop(false);
    if (text != getText())
        setText(text);
    const Point size = getTextSize() + Point{2 * marginX_, 2 * marginY_};
    Rect window = editor().getClientRect();
    window = {window.left + WindowEdge, window.top + WindowEdge, window.right - WindowEdge,
              window.bottom - WindowEdge};
    const Rect box = place(size, current_->getTooltipPlacement(), current_->getAbsoluteRect(),
                           editor().getLastMouse(), window);
    const Control* const parent = getParentControl();
    setPosition(box.movedBy(parent != nullptr ? -parent->getAbsoluteOrigin() : Point{}));
    setVisible(true);
}

Rect ControlHelp::place(Point size, std::int32_t placement, const Rect& control, Point pointer,
                        const Rect& window) {
    if (placement == 0)
        placement = control.width() * 2 < control.height() ? Above | Below : LeftOf | RightOf;
    size = {std::min(size.x, window.width()), std::min(size.y, window.height())};
    const Point middle{(control.left + control.right) / 2, (control.top + control.bottom) / 2};

    // Where the box begins, and where it does on the other side.
    Point corner, other;
    if ((placement & AtMouse) != 0) {
        corner = pointer + AtPointer;
        other = pointer - size;
    } else if ((placement & (LeftOf | RightOf)) != 0) {
        corner = {control.right, middle.y - size.y / 2};
        other = {control.left - size.x, middle.y - size.y};
        if ((placement & RightOf) == 0)
            corner.x = other.x;
    } else {
        corner = {middle.x - size.x / 2, control.bottom};
        other = {corner.x, control.top - size.y};
        if ((placement & Below) == 0)
            corner.y = other.y;
    }
    const bool turns = (placement & LeftOf) != 0;
    if (turns && corner.y + size.y > window.bottom)
        corner.y = other.y;
    if (turns && corner.x + size.x > window.right)
        corner.x = other.x;

    const Rect box = movedInto(window, boxAt(corner, size));
    if (!box.contains(pointer))
        return box;
    const std::array<Point, 4> beside = {
        Point{box.left, pointer.y + PastPointer.y}, Point{box.left, pointer.y - size.y},
        Point{pointer.x + PastPointer.x, box.top}, Point{pointer.x - size.x, box.top}};
    for (const Point free : beside)
        if (const Rect moved = boxAt(free, size); window.contains(moved))
            return moved;
    return box;
}

}  // namespace tarn
