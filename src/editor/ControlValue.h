// Base of the controls that show and change one number: what is dragged, turned and stepped.
// Everything rests on one rule: the user moves a position from 0 to 1; a table of the skin says
// which part of the parameter's range that is, and on which curve.
#pragma once

#include "editor/Control.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace tarn {

/// Without a parameter it has a value of its own. Interface thread.
class ControlValue : public Control {
public:
    using Control::Control;

    void importDictionary(const Dictionary& dictionary) override;
    void exportDictionary(Dictionary& dictionary) const override;
    bool handle(Message& message) override;
    bool takesKeyboard() const override;

    /// From 0 to 1; of the parameter's normalised value, cut to the part that the control has.
    float getPosition() const;

    /// The same, as from the user: the host hears of it, and may end the interface, this control
    /// included. Clamped, or taken around the end where the skin says so; what isn't a number does
    /// nothing.
    void setPosition(float position);

protected:
    struct ScalePoint {
        float position;
        float value;
        auto operator<=>(const ScalePoint&) const = default;
    };

    // The skin's table, in straight lines between its points: the value at a position, where the
    // last one's holds beyond it; and the position of a value, from 0 to 1.
    float valueAt(float position) const;
    float positionOf(float value) const;

    /// The strip that the key "handle" names, null if there is none; a control without a size takes
    /// that of a frame.
    std::shared_ptr<Bitmap> readHandle(const Dictionary& dictionary);

    /// Of the parameter's normalised range; 0 without a parameter, and for one without steps.
    float step() const;

    // A press, a move and a release of the pointer; whether they were used.
    virtual bool press(const WindowMessage& message);
    virtual bool drag(const WindowMessage& message);
    virtual bool letGo(const WindowMessage& message);
    bool turn(const WindowMessage& message);

    /// Where a drag by so many pixels from the press leads; those of `hold` positions around the
    /// detent stay on it.
    float draggedTo(float by, float hold) const;

    /// Takes off the first pixels of a drag, in which nothing moves.
    static float withoutDeadZone(float pixels);

    /// As from the user. The control may be gone afterwards.
    void resetToDefault();

    bool isDragging() const { return isDragging_; }
    void setDragging(bool isDragging) { isDragging_ = isDragging; }

    /// Whether a press goes a step on, and doesn't only begin a drag.
    bool isIncrementing() const { return pressMode_ == PressMode::Increment; }
    Point getDragAnchor() const { return dragAnchor_; }

    float minimum_ = 0.0f;
    float maximum_ = 1.0f;
    float dragSpeed_ = 1.0f;
    bool stayOn_ = false;  // of the switches: can't be turned off by a press

private:
    enum class PressMode { Drag, Increment };

    void readScaling(const Dictionary& dictionary);
    float fromPosition(float position) const;
    float toPosition(float normalised) const;
    bool canBeStepped() const;
    bool pressKey(const WindowMessage& message);

    Point dragAnchor_;
    float privateValue_ = 0.0f;
    std::vector<ScalePoint> scaling_{{0.0f, 0.0f}, {1.0f, 1.0f}};
    float dragStart_ = 0.0f;  // the position at the press
    bool isDragging_ = false;
    float detent_ = 667.0f;  // a position that a drag rests on; none at first
    bool wrap_ = false;
    bool invert_ = false;
    PressMode pressMode_ = PressMode::Drag;
};

}  // namespace tarn
