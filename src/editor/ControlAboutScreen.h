// The picture that says what the product is: comes with its switch, and goes at a click.
#pragma once

#include "editor/Control.h"
#include "foundation/TimerAnimation.h"

#include <string>

namespace tarn {

class ControlBitmap;

/// Hidden until its parameter is switched on; then it fades in. A click on it, or on the texts and
/// images in it, fades it out and switches the parameter off; one while it goes brings it back. The
/// image is the one of the control's own "id" or else of key "handle"; without a size, the control
/// takes the image's. Interface thread.
class ControlAboutScreen : public Control {
public:
    explicit ControlAboutScreen(Editor& editor);
    ~ControlAboutScreen() override;

    void importDictionary(const Dictionary& dictionary) override;
    bool handle(Message& message) override;
    void refresh() override;
    void suspend() override;
    Control* findControlAt(Point point) override;

private:
    void fade(bool isIn);
    void takeStep(float opacity);
    void finish();
    void switchParameter();

    ControlBitmap* image_;
    std::string handle_;
    bool isShown_ = false;  // or coming
    bool isFading_ = false;
    TimerAnimation animation_;
};

}  // namespace tarn
