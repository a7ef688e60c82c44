#include "editor/ControlBlur.h"

#include "drawing/Canvas.h"
#include "editor/Editor.h"
#include "foundation/Message.h"

#include <new>

namespace tarn {

namespace {

constexpr float Radius = 18.0f;  // of Bitmap::blur, in the skin's pixels
constexpr float Strength = 0.6f;

}  // namespace

void ControlBlur::grabAnew() {
    image_.clear();
    isMade_ = false;
    editor().redraw(getAbsoluteRect());
}

bool ControlBlur::handle(Message& message) {
    if (message.type == MessageType::Window) {
        switch (message.code) {
            case WindowMessage::LeftDown:
            case WindowMessage::LeftDouble:
            case WindowMessage::LeftUp:
            case WindowMessage::RightDown:
            case WindowMessage::RightDouble:
            case WindowMessage::RightUp:
            case WindowMessage::MouseDrag:
            case WindowMessage::Wheel:
                return true;
            default:
                break;
        }
    }
    return Control::handle(message);
}

void ControlBlur::drawBackground(Canvas& canvas, const Rect& /*rect*/) {
    const Rect all = getLocalRect();
    if (isMade_ && image_.isValid() && image_.getRect() != all)
        grabAnew();
    if (!isMade_) {
        if (!canvas.getClip().contains(all))
            return;  // drawn in between; the whole is to follow
        isMade_ = true;
        try {
            image_ = canvas.grab(all);
            image_.blur(Radius, Strength);
        } catch (const std::bad_alloc&) {
            image_.clear();
        }
    }
    canvas.drawBitmap(image_, all, all);
}

}  // namespace tarn
