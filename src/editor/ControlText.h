// Shows a text, its own or its parameter's. One that doesn't fit may go round.
#pragma once

#include "editor/Control.h"
#include "foundation/Timer.h"

#include <cstdint>
#include <string>

namespace tarn {

/// In the control's own font or alphabet, of several lines where the text has line ends. With the
/// key "autoscroll" a text that is wider than the control moves to the left without end, while the
/// interface is open. Interface thread; other threads change the parameter, or send a message to a
/// control that sets the text.
class ControlText : public Control {
public:
    explicit ControlText(Editor& editor);

    /// The text of key "text"; that of the parameter where there is one.
    void importDictionary(const Dictionary& dictionary) override;

    /// From its beginning, if it goes round.
    virtual void setText(const std::string& text);
    const std::string& getText() const { return text_; }

    bool handle(Message& message) override;
    void refresh() override;
    void suspend() override;
    void positionChanged() override;
    bool takesKeyboard() const override { return hasTextEntry(); }
    void drawForeground(Canvas& canvas, const Rect& rect) override;

protected:
    /// Width and height of the text, without the margins.
    Point getTextSize() const { return textSize_; }

    std::int32_t marginX_ = 0;  // between the text and the edges
    std::int32_t marginY_ = 0;

private:
    bool overflows() const;
    void readParameter();
    void followOverflow();
    void scroll();

    std::string text_;
    Point textSize_;
    bool autoscroll_ = false;
    Point scrollPosition_;  // where the text begins, from where it does at rest
    Timer scrollTimer_;
};

}  // namespace tarn
