#include "editor/ControlValueSlider.h"

#include "editor/BitmapFrame.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "platform/Desktop.h"

#include <algorithm>

namespace tarn {

namespace {

constexpr float PositionPerPixel = 0.0025f;  // of a control that isn't a slider
constexpr std::int32_t HandleReach = 8;      // above and beneath the handle
constexpr int AltKey = 0x12;
constexpr float LabelSize = 6.0f;
constexpr std::int32_t LabelInset = 2;

}  // namespace

void ControlValueSlider::importDictionary(const Dictionary& dictionary) {
    ControlValue::importDictionary(dictionary);
    handleBitmap_ = readHandle(dictionary);
    std::string text;
    if (dictionary.getString("direction", text)) {
        if (text == "bottomfill")
            direction_ = Direction::BottomFill;
        else if (text == "topfill")
            direction_ = Direction::TopFill;
        else if (text == "centerfill")
            direction_ = Direction::CenterFill;
        else if (text == "centergrow")
            direction_ = Direction::CenterGrow;
    }
    dictionary.getInteger("minfill", minFill_);
    dictionary.getBool("grabanywhere", grabAnywhere_);
    if (dictionary.getString("type", text))
        sliderType_ = text == "move" ? Type::Move : Type::Fill;
    setFlags(HorizontalLayout, rect_.width() > rect_.height());
    const std::int32_t length = isHorizontal() ? rect_.width() : rect_.height();
    if (length > 0)
        dragSpeed_ /= static_cast<float>(length) * PositionPerPixel;
}

// Of one that moves, where it is; of what is filled, its edge.
Rect ControlValueSlider::handleRect() const {
    const Rect local = getLocalRect();
    const float position = getPosition();
    if (sliderType_ == Type::Fill) {
        if (isHorizontal()) {
            const std::int32_t x = partOf(local.width(), position);
            return {x, 0, x, local.height()};
        }
        const std::int32_t y = local.height() - partOf(local.height(), position);
        return {0, y, local.width(), y};
    }
    const Rect handle = frameOf(*handleBitmap_);
    if (isHorizontal())
        return handle.movedBy({partOf(local.width() - handle.width(), position), 0});
    const std::int32_t travel = local.height() - handle.height();
    return handle.movedBy({0, travel - partOf(travel, position)});
}

bool ControlValueSlider::press(const WindowMessage& message) {
    const Rect local = getLocalRect();
    Rect near = handleBitmap_ ? handleRect() : Rect{};
    near.top -= HandleReach;
    near.bottom += HandleReach;
    const bool isJump = handleBitmap_ && !grabAnywhere_ && !near.contains(message.position) &&
                        message.button == WindowMessage::LeftButton &&
                        (message.modifiers & WindowMessage::Control) == 0;
    const auto alive = editor().life();
    if (isJump) {
        const bool isMoved = sliderType_ == Type::Move;
        const Point handle = isMoved ? handleBitmap_->getFrameSize() : Point{};
        const auto place = [](std::int32_t at, std::int32_t size, std::int32_t length) {
            const auto room = static_cast<float>(std::max(length - size, 1));
            return (static_cast<float>(at) - static_cast<float>(size) * 0.5f) / room;
        };
        setPosition(isHorizontal() ? place(message.position.x, handle.x, local.width())
                                   : 1.0f - place(message.position.y, handle.y, local.height()));
    }
    return alive.expired() || ControlValue::press(message);
}

bool ControlValueSlider::handle(Message& message) {
    const bool isUsed = ControlValue::handle(message);
    if (message.type != MessageType::Window || message.code != WindowMessage::ControlEnter)
        return isUsed;
    // As it is found, holes of its background's image included.
    const Point position = static_cast<const WindowMessage&>(message).position;
    if (!testFlags(Visible) || !canTakePointer() || !getLocalRect().contains(position))
        return false;
    if (!handleBitmap_)
        return true;
    const Point size = handleBitmap_->getFrameSize();
    return isHorizontal() ? position.y < size.y : position.x < size.x;
}

Control* ControlValueSlider::findControlAt(Point point) {
    if (isVisible() && testFlags(Enabled) && platform::isKeyDown(AltKey) != altReverse_)
        if (Control* const found = findBelow(point, &Control::findControlAt))
            return found;
    if (Control* const found = ControlValue::findControlAt(point))
        return found;
    const bool isOpen = isVisible() && testFlags(Enabled) && !testFlags(ClickThrough);
    return isOpen && getLocalRect().contains(point) ? this : nullptr;
}

void ControlValueSlider::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    if (!handleBitmap_) {
        drawPlain(canvas);
    } else if (sliderType_ == Type::Fill) {
        drawFilled(canvas);
    } else {
        const std::int32_t last = handleBitmap_->getFrameCount() - 1;
        canvas.drawBitmap(*handleBitmap_, handleBitmap_->getFrameRect(partOf(last, getPosition())),
                          handleRect());
    }
}

void ControlValueSlider::drawPlain(Canvas& canvas) const {
    const Rect local = getLocalRect();
    canvas.setFillColor(Color(1.0f, 1.0f, 1.0f, 1.0f));
    canvas.fillRect(local);
    canvas.setFillColor(Color(1.0f, 0.498f, 0.0f, 1.0f));
    canvas.fillRect(
        {0, local.height() - partOf(local.height(), getPosition()), local.width(), local.height()});
    canvas.setPenColor(Color());
    canvas.frameRect(local);
    canvas.selectFont(Canvas::getDefaultFont(LabelSize));
    canvas.setTextColor(Color());
    canvas.drawText(
        getLabel(),
        {LabelInset, LabelInset, local.width() - LabelInset, local.height() - LabelInset},
        Font::CenteredLine);
}

void ControlValueSlider::drawFilled(Canvas& canvas) const {
    const float position = getPosition();
    const std::int32_t width = getLocalRect().width(), height = getLocalRect().height();
    const auto draw = [&](std::int32_t frame, const Rect& part) {
        drawBitmapPart(canvas, *handleBitmap_, frame, part);
    };
    if (isHorizontal()) {
        const std::int32_t split = partOf(width, position);
        draw(1, {0, 0, split, height});
        draw(0, {split, 0, width, height});
        return;
    }
    // The filled span, from the bottom up.
    float from = 0.0f, to = position;
    if (direction_ == Direction::TopFill) {
        from = 1.0f - position;
        to = 1.0f;
    } else if (direction_ == Direction::CenterFill) {
        from = std::min(position, 0.5f);
        to = std::max(position, 0.5f);
    }
    Rect filled{0, height - partOf(height, to), width, height - partOf(height, from)};
    const std::int32_t least = std::clamp(minFill_, 0, height);
    if (const std::int32_t missing = least - filled.height(); missing > 0)
        filled.top -= missing / 2;
    filled.top = std::max(filled.top, least / 2);
    filled.bottom = std::min(std::max(filled.bottom, filled.top + least), height);
    filled.top = std::min(filled.top, filled.bottom - least);
    if (direction_ == Direction::CenterFill)
        draw(0, {0, 0, width, height});
    else if (direction_ == Direction::TopFill)
        draw(0, {0, filled.bottom, width, height});
    else
        draw(0, {0, 0, width, filled.top});
    draw(1, filled);
}

}  // namespace tarn
