#include "editor/ControlText.h"

#include "drawing/Canvas.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"

namespace tarn {

namespace {

constexpr std::uint32_t ScrollTimer = fourCharacterCode("CTst");
constexpr double ScrollPeriodMs = 25.0;
constexpr std::int32_t ScrollStep = 1;
constexpr std::int32_t ScrollGap = 40;  // between the text's end and its next beginning

const Message* scrollTick() {
    static const TimerMessage Tick(nullptr, TimerMessage::Tick, ScrollTimer, 0);
    return &Tick;
}

}  // namespace

ControlText::ControlText(Editor& editor)
    : Control(editor), scrollTimer_(this, scrollTick(), ScrollPeriodMs, false) {
    tuneIn(&scrollTimer_);
}

void ControlText::importDictionary(const Dictionary& dictionary) {
    dictionary.getBool("autoscroll", autoscroll_);
    Control::importDictionary(dictionary);
    std::string text;
    if (getParameter() == nullptr && dictionary.getString("text", text))
        setText(text);
}

void ControlText::setText(const std::string& text) {
    text_ = text;
    textSize_ = measureText(text_);
    scrollPosition_ = {};
    followOverflow();
    setDirty(true);
}

bool ControlText::handle(Message& message) {
    if (message.type == MessageType::Timer &&
        static_cast<const TimerMessage&>(message).timerId == ScrollTimer) {
        scroll();
        return true;
    }
    if (message.type == MessageType::Parameter && message.code == ParameterMessage::ValueChanged &&
        static_cast<const ParameterMessage&>(message).parameterName == parameterName_)
        readParameter();
    return Control::handle(message);
}

void ControlText::refresh() {
    Control::refresh();
    readParameter();
    textSize_ = measureText(text_);  // the screen's pixels may be other ones now
    followOverflow();
}

void ControlText::suspend() {
    scrollTimer_.stop(false);
}

void ControlText::positionChanged() {
    Control::positionChanged();
    followOverflow();
}

// The same text goes on where it is.
void ControlText::readParameter() {
    const Parameter* const parameter = getParameter();
    if (parameter == nullptr)
        return;
    if (const std::string text = parameter->getText(); text != text_)
        setText(text);
}

bool ControlText::overflows() const {
    return rect_.width() - 2 * marginX_ < textSize_.x;
}

void ControlText::followOverflow() {
    if (autoscroll_ && overflows() && editor().isOpen()) {
        scrollTimer_.start();
    } else {
        scrollTimer_.stop(false);
        scrollPosition_ = {};
    }
}

void ControlText::scroll() {
    if (!scrollTimer_.isRunning())
        return;  // a last tick, from before the text was changed
    const std::int32_t round = textSize_.x + ScrollGap;
    scrollPosition_.x -= ScrollStep;
    if (scrollPosition_.x <= -round)
        scrollPosition_.x += round;
    setDirty(true);
}

void ControlText::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    const Rect room{marginX_, marginY_, rect_.width() - marginX_, rect_.height() - marginY_};
    std::int32_t flags = font_.alignment;
    if (text_.find('\n') != std::string::npos)
        flags |= Font::Multiline;
    if (!scrollTimer_.isRunning()) {
        drawText(canvas, room, text_, flags);
        return;
    }
    Rect line = room.movedBy(scrollPosition_);
    line.right = line.left + textSize_.x;
    drawText(canvas, line, text_, flags);
    if (line.right < room.right)
        drawText(canvas, line.movedBy({textSize_.x + ScrollGap, 0}), text_, flags);
}

}  // namespace tarn
