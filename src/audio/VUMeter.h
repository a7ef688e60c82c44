// How loud a signal is, with the inertia of a meter's needle and a peak that is held for a while.
// Everything rests on one rule: the meter moves at its updates only, by the time that has passed
// since the last one. So the first update after a pause lets it fall all the way.
#pragma once

#include "audio/Effect.h"
#include "foundation/Word.h"

#include <cstdint>
#include <span>

namespace tarn {

/// Silent at first. Levels are linear, 0.0 to `Ceiling`, and always numbers, whatever the samples
/// are. One thread updates the meter: the audio thread, or the interface's where a control meters
/// by itself; settings are for that thread too, or for times without updates. Samples pass
/// unchanged.
class VUMeter : public Effect {
public:
    /// How the level follows the signal. Modes beyond these are `Instant`.
    enum Mode : std::int32_t {
        Peak1500 = 0,    // up 80 % of the way in 5 ms, down 20 dB in 1.5 s
        Peak1700 = 1,    // the same, down 20 dB in 1.7 s
        Programme = 2,   // up 20 % of the way in 10 ms, down 24 dB in 2.8 s
        Programme2 = 3,  // the same
        Average = 4,     // 99 % of the way in 300 ms, up and down
        Instant = 5,     // up at once, down 99 % of the way in 200 ms
    };

    /// The largest level, +6 dB; what is above counts as this.
    static constexpr float Ceiling = 1.9952623f;

    explicit VUMeter(Radio* parent);

    /// The smoothed level, and the held peak. Any thread.
    float getLevel() const noexcept { return level_; }
    virtual float getPeak() const { return peak_; }

    /// How long a peak stays, in seconds; 1.0 at first, and NaN is 0.0. From the next peak on.
    void setHoldTime(float seconds) noexcept;

    /// Instant at first. Clears the level and the peak.
    void setMode(std::int32_t mode) noexcept;

    /// Clears the level and the peak, and ends the hold.
    void reset() override;

    /// Makes the channel's samples invalid: 0.
    int clearChannel(IOChannel<float>& channel) override;

    // Updates the meter with what `detect` makes of the valid samples, from 0.0 on; the number of
    // valid samples.
    int processChannel(IOChannel<float>& channel) override;
    int processChannelTo(const IOChannel<float>& in, IOChannel<float>& out) override;

    /// One step, to an input that was found otherwise; what isn't above 0.0 counts as that. Reads
    /// the clock once.
    void update(float input) noexcept;

    /// What becomes of the input so far with one more sample.
    virtual float detect(float accumulator, float sample) const noexcept = 0;

protected:
    /// `detect` over all samples, from 0.0 on; a class that has a quicker way with the same outcome
    /// overrides it.
    virtual float detectAll(std::span<const float> samples) const noexcept;

private:
    float smooth(float input, float seconds) const noexcept;

    std::int32_t mode_ = Instant;
    Word<float> level_{0.0f};
    Word<float> peak_{0.0f};
    float holdTime_ = 1.0f;       // seconds
    float holdRemaining_ = 0.0f;  // seconds
    double lastTime_;             // seconds
};

/// Shows the largest absolute value; NaN is passed over.
class VUMeterPeak : public VUMeter {
public:
    using VUMeter::VUMeter;

    float detect(float accumulator, float sample) const noexcept override;

protected:
    float detectAll(std::span<const float> samples) const noexcept override;
};

}  // namespace tarn
