// What the status line says: the most important of the lines that it was given.
#pragma once

#include "editor/Control.h"
#include "foundation/Timer.h"

#include <array>
#include <string>
#include <vector>

namespace tarn {

class ControlText;

/// One an editor; it isn't drawn itself, but has a ControlText show its line. Priorities go from 0
/// to 3. Of the highest that has lines, the last one is shown; those of 0 take turns. It gives
/// lines of its own: 0 which product this is, 1 what the pointer is over, 2 the value that the user
/// changes, and for a moment after that, but not once a preset is chosen, reverted or loaded, 3 the
/// hint on a learning controller. Interface thread; other threads send a message to a control.
class ControlInfo : public Control {
public:
    static constexpr int PriorityCount = 4;

    explicit ControlInfo(Editor& editor);

    /// Null for none. The display outlives the connection.
    void setDisplay(ControlText* display);

    /// Adds a line, which stays until its source takes it away. Others than the priorities are
    /// ignored.
    void setLine(int priority, const Radio* source, const std::string& text);
    void removeLines(const Radio* source);

    /// Shows the changes of the pressed control's parameter from now on; null when the mouse is
    /// free again.
    void watch(Control* control);

    /// The value that was shown last doesn't hold any more.
    void forgetValue();

    /// An empty text ends it.
    void setHint(const std::string& text);

    /// Follows the pointer, and has lines take turns; `stop` lets go of all controls.
    void start() override;
    void stop() override;

    /// Lets go of a control that goes, and of its lines.
    void forget(const Control& control);

    bool handle(Message& message) override;
    void setRadioHost(Radio* module) override;

private:
    struct Line {
        const Radio* source;  // not followed
        std::string text;
    };

    void replaceOwn(int priority, const std::string& text);
    void hover(Control* control);
    void follow();
    void showHovered();
    void showWatched();
    void show();

    ControlText* display_ = nullptr;
    Control* hovered_ = nullptr;
    Control* watched_ = nullptr;
    std::string followed_;  // the parameter of one of them
    std::array<std::vector<Line>, PriorityCount> lines_;
    Timer rotateTimer_;
    Timer clearTimer_;
};

}  // namespace tarn
