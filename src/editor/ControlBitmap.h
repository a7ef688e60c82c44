// Shows an image, or another one while a switch is on.
#pragma once

#include "editor/Control.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarn {

/// The image is that of the control's own "id" or else of key "handle"; without a size, the control
/// takes the image's. Each entry of the list "bitmaps" is a switch, whose name is `value`. While it
/// is on, the image of its attribute `handle` is shown, or without that the one of the switch's own
/// name; of several that are on, the one that was switched last. Clicks are no business of an
/// image. Interface thread.
class ControlBitmap : public Control {
public:
    using Control::Control;

    void importDictionary(const Dictionary& dictionary) override;

    /// Shows the image of the first id that there is one of, or none, in its own size if the
    /// control has none.
    void setImage(const std::string& id, const std::string& otherId);

    bool handle(Message& message) override;
    void refresh() override;
    bool coversBackground() const override;
    void drawBackground(Canvas& canvas, const Rect& rect) override;

private:
    const Bitmap* shownBitmap() const { return altBitmap_ ? altBitmap_.get() : bitmap_.get(); }
    bool follow(std::string_view parameter, bool isOn);

    std::shared_ptr<Bitmap> bitmap_;
    std::shared_ptr<Bitmap> altBitmap_;  // the one that is shown instead
    std::vector<std::pair<std::string, std::shared_ptr<Bitmap>>> switched_;  // by parameter
};

}  // namespace tarn
