#include "editor/ControlBitmap.h"

#include "drawing/Canvas.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"
#include "parameters/Settings.h"

namespace tarn {

void ControlBitmap::importDictionary(const Dictionary& dictionary) {
    Control::importDictionary(dictionary);
    std::string handle;
    dictionary.getString("handle", handle);
    setImage(id_, handle);
    const auto list = dictionary.getArray("bitmaps");
    const std::int32_t count = list ? list->count({}) : 0;
    for (std::int32_t i = 0; i < count; ++i) {
        const auto entry = list->getEntry(i);
        if (!entry || !entry->isElement())
            continue;
        const std::string parameter = entry->getAttribute("value");
        const std::string image = entry->getAttribute("handle");
        switched_.emplace_back(parameter, editor().getBitmap(image.empty() ? parameter : image));
        tuneInByName(parameter);
    }
}

void ControlBitmap::setImage(const std::string& id, const std::string& otherId) {
    bitmap_ = editor().getBitmap(id);
    if (!bitmap_)
        bitmap_ = editor().getBitmap(otherId);
    if (bitmap_ && !rect_.hasArea()) {
        const Rect image = bitmap_->getRect();
        setPosition(Rect{0, 0, rect_.width() > 0 ? rect_.width() : image.right,
                         rect_.height() > 0 ? rect_.height() : image.bottom}
                        .movedBy(rect_.topLeft()));
    }
    setDirty(true);
}

bool ControlBitmap::handle(Message& message) {
    if (message.type == MessageType::Window &&
        (message.code == WindowMessage::LeftDown || message.code == WindowMessage::LeftUp))
        return false;
    if (message.type == MessageType::Parameter && message.code == ParameterMessage::ValueChanged) {
        const auto& change = static_cast<const ParameterMessage&>(message);
        if (isOwnClone(change) && follow(change.parameterName.view(), (change.payload & 0xFF) != 0))
            return true;
    }
    return Control::handle(message);
}

void ControlBitmap::refresh() {
    Control::refresh();
    const Settings* const settings = settingsOf(*this);
    for (const auto& [name, image] : switched_)
        if (const Parameter* const parameter =
                settings ? settings->find(name, parameterIndex_) : nullptr)
            follow(name, parameter->getNormalised() >= 0.5f);
}

bool ControlBitmap::follow(std::string_view parameter, bool isOn) {
    bool isUsed = false;
    for (const auto& [name, image] : switched_) {
        if (name != parameter)
            continue;
        if (isOn)
            altBitmap_ = image;
        else if (altBitmap_ == image)
            altBitmap_ = nullptr;
        setDirty(true);
        isUsed = true;
    }
    return isUsed;
}

bool ControlBitmap::coversBackground() const {
    const Bitmap* const shown = shownBitmap();
    return shown != nullptr && !shown->usesAlpha() && shown->getOpacity() == 1.0f &&
           shown->getRect().contains(getLocalRect());
}

void ControlBitmap::drawBackground(Canvas& canvas, const Rect& /*rect*/) {
    const Bitmap* const shown = shownBitmap();
    if (shown != nullptr)
        canvas.drawBitmap(*shown, shown->getRect(), shown->getRect());
}

}  // namespace tarn
