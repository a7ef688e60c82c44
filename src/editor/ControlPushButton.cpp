#include "editor/ControlPushButton.h"

#include "drawing/Canvas.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"

#include <string>
#include <utility>

namespace tarn {

void ControlPushButton::importDictionary(const Dictionary& dictionary) {
    Control::importDictionary(dictionary);
    if (std::string id; dictionary.getString("handle", id))
        handle_ = editor().getBitmap(id);
    if (handle_ && !rect_.hasArea())
        setPosition(frameOf(*handle_).movedBy(rect_.topLeft()));
}

bool ControlPushButton::handle(Message& message) {
    const bool isUsed = message.type == MessageType::Window && !isInThumbnail() &&
                        handleWindow(static_cast<const WindowMessage&>(message));
    return isUsed || Control::handle(message);
}

bool ControlPushButton::handleWindow(const WindowMessage& message) {
    switch (message.code) {
        case WindowMessage::LeftDown:
        case WindowMessage::LeftDouble:
            isPressed_ = true;
            setDirty(true);
            if (actsAtPress())
                pressAndRelease();
            return true;
        case WindowMessage::LeftUp: {
            const bool isClicked = std::exchange(isPressed_, false) && isHovered();
            setDirty(true);
            if (isClicked && !actsAtPress())
                pressAndRelease();
            return true;
        }
        case WindowMessage::MouseDrag:
            return isPressed_;
        case WindowMessage::ControlEnter:
        case WindowMessage::ControlExit:
            setDirty(true);
            return false;
        default:
            return false;
    }
}

void ControlPushButton::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    if (!handle_) {
        drawText(canvas, getLocalRect(), label_, Font::CenteredLine);
        return;
    }
    const std::int32_t wanted = !isHovered() ? 0 : isPressed_ ? 2 : 1;
    drawBitmapFrame(canvas, *handle_, wanted);
}

}  // namespace tarn
