// Controls that choose from a list: an enum's entries, or off and on of a switch.
// Everything rests on one rule: a choice is its place in the list, from 0, whatever the values are.
#pragma once

#include "editor/Control.h"

#include <cstdint>
#include <memory>
#include <string>

namespace tarn {

/// Without a parameter, or with another kind, there is nothing to choose. A press chooses by its
/// height: the list goes from the control's top to its bottom. Interface thread.
class ControlEnum : public Control {
public:
    using Control::Control;

    /// Key "handle" is a strip, a frame for each choice; without a size, the control takes a
    /// frame's.
    void importDictionary(const Dictionary& dictionary) override;
    bool handle(Message& message) override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;

    std::int32_t getChoiceCount() const;

    /// -1 where there is nothing to choose.
    std::int32_t getChoice() const;

    /// With the unit; a number from 1 up for a choice without a name.
    std::string getChoiceText(std::int32_t choice) const;

protected:
    // A press of the given or either button, its end, and the pointer's way off the pressed control
    // and back.
    virtual bool press(const WindowMessage& message);
    virtual bool letGo() { return true; }
    virtual void cross(bool /*isInside*/) {}
    virtual bool isAnswered(const WindowMessage& message) const;

    /// As from the user; one that isn't there does nothing. The control may be gone afterwards.
    void choose(std::int32_t choice);

    /// The strip's frame for what is chosen.
    virtual std::int32_t getFrame() const { return getChoice(); }

    std::shared_ptr<Bitmap> handle_;

private:
    bool handleWindow(WindowMessage& message);
};

}  // namespace tarn
