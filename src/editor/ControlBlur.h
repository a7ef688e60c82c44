// Puts a dialog's surroundings out of focus: a blurred, darker picture of what it covers.
#pragma once

#include "drawing/Bitmap.h"
#include "editor/Control.h"

namespace tarn {

/// One an editor, which has it stand beneath a modal control. The picture is taken the first time
/// that all of the control is drawn, of what is drawn by then. Takes all clicks. Interface thread.
class ControlBlur : public Control {
public:
    using Control::Control;

    /// Takes the picture anew at the next drawing: to be called when what is beneath has changed.
    void grabAnew();

    void refresh() override { grabAnew(); }
    bool handle(Message& message) override;
    void drawBackground(Canvas& canvas, const Rect& rect) override;

private:
    Bitmap image_;
    bool isMade_ = false;
};

}  // namespace tarn
