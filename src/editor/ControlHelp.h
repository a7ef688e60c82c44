// The tooltip: says what the pointer is over, and what a value is while it changes.
#pragma once

#include "editor/ControlText.h"
#include "foundation/Timer.h"

#include <cstdint>
#include <string>

namespace tarn {

/// The control "special::help", hidden until there is something to tell. It shows what the hovered
/// control's `getTooltip` says, a moment after the pointer came, or at once for a control that
/// shows its value on hover; and, for a short time, each change of that control's parameter. It
/// stands above its siblings and takes no clicks. Interface thread.
class ControlHelp : public ControlText {
public:
    explicit ControlHelp(Editor& editor);

    /// Begins to listen to the editor, and ends that.
    void start() override;
    void stop() override;

    void importDictionary(const Dictionary& dictionary) override;
    bool handle(Message& message) override;
    void suspend() override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;

    /// Until the pointer comes to another control, or the value changes.
    void hide();

    /// Lets go of a control that goes.
    void forget(const Control& control);

    /// Where a box of that size stands. `placement` are bits of Control::TooltipPlacement, or 0 for
    /// beside the control, or under or above a slim one. Where the right or lower edge of the
    /// window is in the way, a box whose placement has `LeftOf` goes to the other side. It never
    /// leaves the window, nor covers the pointer if there is room beside it. All in the window's
    /// coordinates.
    static Rect place(Point size, std::int32_t placement, const Rect& control, Point pointer,
                      const Rect& window);

private:
    void follow(Control* control);
    void showNow();
    bool isOfCurrent(const ParameterMessage& change) const;

    Control* current_ = nullptr;  // under the pointer
    std::string followed_;        // its parameter
    Timer tooltipTimer_;
    Timer hideTimer_;
};

}  // namespace tarn
