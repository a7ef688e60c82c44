#include "editor/ControlValueButtonChoice.h"

#include "editor/BitmapFrame.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"

#include <string>

namespace tarn {

void ControlValueButtonChoice::importDictionary(const Dictionary& dictionary) {
    ControlValue::importDictionary(dictionary);
    clearFlags(TextEntry);  // two quick clicks are two clicks
    if (std::string id; dictionary.getString("handle", id))
        handle_ = editor().getBitmap(id);
    if (handle_ && !rect_.hasArea())
        Control::setPosition(frameOf(*handle_).movedBy(rect_.topLeft()));
}

bool ControlValueButtonChoice::handle(Message& message) {
    if (message.type == MessageType::Window && message.code == WindowMessage::MouseDrag &&
        !isInThumbnail())
        return true;
    return ControlValue::handle(message);
}

bool ControlValueButtonChoice::press(const WindowMessage& /*message*/) {
    pressAndRelease();
    return true;
}

void ControlValueButtonChoice::pressAndRelease() {
    const float by = step() > 0.0f ? step() : 1.0f;
    const float next = getPosition() + by;
    setPosition(next > 1.0f + by * 0.5f ? 0.0f : next);
}

void ControlValueButtonChoice::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    if (handle_)
        drawBitmapFrame(canvas, *handle_, partOf(handle_->getFrameCount() - 1, getPosition()));
}

}  // namespace tarn
