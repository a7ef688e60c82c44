// A meter of a level, whose picture and decibel scale are the skin's.
// Everything rests on one rule: the level comes all the time, but the meter is drawn anew only when
// its picture changes.
#pragma once

#include "editor/ControlValue.h"

#include <cstdint>
#include <memory>

namespace tarn {

class Timer;

/// Shows its parameter's normalised value, taken as linear, in dB. Takes no input. A peak is held
/// for 0.25 s, and then the level as it is at that moment takes its place.
///
/// Its strip has one frame for each level, or two, dark and lit, of which the lit one is shown up
/// to the level and at the peak. Without a strip there are bars. Interface thread.
class ControlVUMeter : public ControlValue {
public:
    using ControlValue::ControlValue;

    void initialize() override;
    void importDictionary(const Dictionary& dictionary) override;
    bool handle(Message& message) override;
    void refresh() override;
    void suspend() override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;

protected:
    struct Levels {
        float level = -112.0f;  // dB, minus infinity included
        float peak = -112.0f;
    };

    /// What of a picture depends on the levels, in the skin's pixels.
    struct Picture {
        std::int32_t lit = 0;   // a length, the number of a frame, or of LEDs
        std::int32_t peak = 0;  // a place, for those that show one
        bool operator==(const Picture&) const = default;
    };

    static float toDecibels(float linear);

    /// What is shown of a value that the parameter has taken.
    virtual void take(float linear);

    /// A tick of the timer, so long after the last one.
    virtual void tick(double seconds);

    virtual Picture pictureOf(const Levels& levels) const;
    virtual void drawPicture(Canvas& canvas, const Picture& picture) const;

    /// The two pixels of the held peak, in a strip of two frames.
    virtual void drawPeakLine(Canvas& canvas, const Rect& line) const;

    /// Has the levels drawn if that makes a difference.
    void show(const Levels& levels);

    // The ticks, of one timer that all meters of the process share while they need it; none while
    // the interface is closed.
    void joinTimer();
    void leaveTimer();

    bool isTall() const;
    const Bitmap* strip() const { return meterBitmap_.get(); }

private:
    void drawBars(Canvas& canvas, const Picture& picture) const;

    Levels levels_;
    Levels shown_;           // in the picture, or on their way into it
    double holdLeft_ = 0.0;  // seconds
    bool attenuation_ = false;
    std::shared_ptr<Bitmap> meterBitmap_;
    std::shared_ptr<Timer> timer_;
};

}  // namespace tarn
