// Mixes pins into pins, with a gain and a place between left and right.
#pragma once

#include "foundation/Radio.h"

namespace tarn {

template <typename T>
class IOChannel;
class IOPin;

/// Audio thread; nothing here allocates. NaN and infinities pass through.
class Mixer : public Radio {
public:
    /// How two samples become one. With a strength of 0.0, Screen is the sum of both, with the gain
    /// on either, and Duck the same as Add.
    enum class Mode {
        Add,
        Screen,  // what both have is taken off their sum, times the strength
        Duck,    // the source is lowered where the target is loud
    };

    explicit Mixer(Radio* parent) : Radio(parent) {}

    /// Mixes the valid samples of `in` into `out`. The gain is linear; `pan` is 0.0 left, 0.5
    /// centre, 1.0 right. In the centre each side has the full gain, towards one side the other
    /// fades out linearly; between mono and stereo all is lowered by 4.6 dB. Does nothing unless
    /// both are mono or stereo.
    void mix(IOPin& out, const IOPin& in, float gain, float pan) const noexcept;

    /// Mixes the valid samples of `source` into the first ones of `target`, valid or not, as far as
    /// there is room; so many are valid there afterwards, or more if they were before. Where the
    /// two overlap, a sample is mixed after those before it.
    void mixChannel(IOChannel<float>& target, const IOChannel<float>& source,
                    float gain) const noexcept;

    Mode mode = Mode::Add;
    float strength = 0.0f;  // of Screen and Duck, 0.0 to 1.0
};

}  // namespace tarn
